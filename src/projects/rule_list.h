#pragma once

#include "foundation/naming.h"
#include "projects/rule.h"

namespace heron {

/// The rules of a record, in order. Their names differ, as long as they are changed through the list only and were
/// not read from data where they do not.
class RuleList {
 public:
  using Rule = py::Ref<ProjectRule>;

  void init(const py::Object& stored);

  static py::List predefined();  ///< The rules that a new project offers, with stamps of their own.

  std::vector<Rule> rules() const;  ///< A copy, safe to walk; TypeError if somebody put anything else in.
  py::Object iterate() const { return py::iterator(array.items()); }
  py::List names() const;
  py::List data() const;  ///< The JSON form.
  bool is_empty() const { return array.empty(); }
  bool has_ghost() const;
  bool has_unique_name(const Rule& rule) const;
  py::Object get(const py::Object& stamp) const;  ///< The first rule of this stamp, or none.
  py::Dict by_stamp() const;                      ///< The same for all stamps, for who looks for many.

  bool append(const Rule& rule) const;        ///< Numbers a name that is taken; refuses a second ghost.
  bool remove(const py::Object& rule) const;  ///< False if this very object is not in the list.
  void rename(const Rule& rule, const py::Object& name) const;
  void reorder(const py::Object& wanted) const;
  void sync_names() const;

  py::List array;
  py::Ref<NamesControl> control = py::Ref<NamesControl>::make();  ///< The names of the rules.

  template <class V>
  void members(V& visit) {
    visit(array);
    visit(control);
  }

 private:
  py::Dict take_all() const;
};

/// Puts `List` into `Rule`.
void expose_rule_list(const py::Scope& rule);

}  // namespace heron
