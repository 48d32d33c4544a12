#pragma once

#include "projects/rule_list.h"

namespace heron {

class RuleNode;

/// What the nodes of a rule tree and its root have in common: nodes below them.
///
/// `children` is a list that Python code may fill with anything, a node above it included. The walks raise
/// TypeError or RecursionError there, and may be deeper than the program's stack; only the text form may not.
class RuleBranch {
 public:
  void init() { children = py::List(); }

  void append(const py::Ref<RuleBranch>& node) const;  ///< Once: nothing if this very node is there.
  void remove(const py::Object& node) const;           ///< Nothing if this very node is not there.
  void clear() const;                                  ///< Dismantles everything below.
  py::Object text() const;                             ///< An outline of what is below.
  static py::Ref<RuleNode> create_node(const py::Ref<ProjectRule>& rule);

  py::List children;

  template <class V>
  void members(V& visit) {
    visit(children);
  }
};

/// A place of a rule in the tree. A rule may have several.
class RuleNode : public RuleBranch {
 public:
  void init(const py::Ref<ProjectRule>& placed, const py::Object& below);

  const ProjectRule& placed_rule() const;  ///< AttributeError if a derived class left the constructor out.
  py::Object text() const;                 ///< The name, and the outline of what is below, indented.

  py::Ref<ProjectRule> rule;  ///< None until the constructor ran.

  template <class V>
  void members(V& visit) {
    RuleBranch::members(visit);
    visit(rule);
  }
};

/// The top of a rule tree, which stands for no rule.
class RuleRoot : public RuleBranch {
 public:
  bool is_empty() const { return children.empty(); }
  bool is_root(const py::Object& rule) const;
  py::List data() const;  ///< The JSON form: nested nodes that name their rule by its stamp.
  void load(const py::Object& data, const py::Ref<RuleList>& rules);
};

/// Puts `Tree` into `Rule`.
void expose_rule_tree(const py::Scope& rule);

}  // namespace heron
