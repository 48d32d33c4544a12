#pragma once

#include "runtime/class.h"

namespace heron {

/// One rule of a pattern: what an object must look like. A copy that does not follow the project's rule.
class PatternRule {
 public:
  void init(const py::Object& config, const py::Object& checklist);

  py::Object get_range() const;
  bool is_optional() const;
  bool equals(const py::Object& other) const;
  Py_hash_t hash() const;

  py::Object stamp, name, icon, color, regex, types, range, checklist;

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&stamp, &name, &icon, &color, &regex, &types, &range, &checklist}) visit(*field);
  }
};

/// A node of the pattern: a rule, and the nodes that stand below it.
class PatternScope {
 public:
  void init(const py::Object& rule_, const py::Object& children_) {
    rule = rule_;
    children = children_;
  }

  py::Object rule;
  py::Object children = py::List();

  template <class V>
  void members(V& visit) {
    visit(rule);
    visit(children);
  }
};

/// The tree of rules that the matching compares the scene with.
class Pattern {
 public:
  void init(const py::Object& check_classes_) { check_classes = check_classes_; }

  py::List get() const;          ///< What is compared with the scene: below the ghost, if there is one.
  py::Object get_ghost() const;  ///< The first scope at the top whose rule is named "ghost", or None.
  bool has_ghost() const { return !get_ghost().is_none(); }

  void set(const py::Object& record);
  void set_rules(const py::Iterable& rules_);
  void set_hierarchy(const py::Object& pattern, const py::Object& root);

  py::Object get_checklist(const py::Object& stamp) const;
  bool is_verifiable(const py::Object& stamp) const;

  py::Object check_classes;
  py::Dict rules;
  py::List hierarchy;

  template <class V>
  void members(V& visit) {
    visit(check_classes);
    visit(rules);
    visit(hierarchy);
  }
};

/// The fields of scopes and rules, by the names under which they are read: any object that has them serves.
namespace fields {
inline const py::Name kRule("rule"), kChildren("children"), kRules("rules"), kPattern("pattern");
inline const py::Name kStamp("stamp"), kName("name"), kIcon("icon"), kColor("color"), kRegex("regex");
inline const py::Name kTypes("types"), kRange("range"), kMinimum("minimum"), kMaximum("maximum");
inline const py::Name kCheckConfig("check_config");
}  // namespace fields

/// The rule of a scope; AttributeError with the reason for a scope that lacks one.
py::Object rule_of(const py::Object& scope);

void expose_pattern(const py::Scope& hierarchy);

}  // namespace heron
