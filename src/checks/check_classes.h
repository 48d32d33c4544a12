#pragma once

#include "runtime/class.h"

namespace heron {

/// The check classes found in directories of plug-ins, in the order in which they are shown.
class CheckClasses {
 public:
  void init(const py::Object& places);
  py::Object iterate() const { return py::iterator(array.items()); }
  py::Object get(const py::Object& class_id) const;  ///< None for an unknown id.
  py::List get_denied() const { return denied; }
  py::Dict get_errors() const { return errors.copy(); }
  py::Dict get_failures() const;
  py::List get_denials() const { return denials.copy(); }
  py::Dict get_denial_errors() const { return denial_errors.copy(); }

  void reload();

  py::List search(const py::Object& place, const py::Object& container, const py::Object& scope) const;
  py::Object load_module(const py::Object& importer, const py::Object& name, const py::Object& scope) const;
  static py::List sort(const py::List& classes);

  static py::Object group_order();  ///< The known categories, as a tuple.

  py::Object directories;
  py::Object directory;    ///< The one that is searched.
  py::Dict errors;         ///< Why modules could not be imported, by their paths.
  py::List denied;         ///< Classes that cannot serve as checks, perhaps more than once.
  py::List denials;        ///< The same, each with the reason.
  py::Dict denial_errors;  ///< What the denied classes raised.
  py::List entries;        ///< Keep the modules of the classes in `sys.modules`.
  py::List array;
  py::Dict table;

  template <class V>
  void members(V& visit) {
    visit(directories);
    visit(directory);
    visit(errors);
    visit(denied);
    visit(denials);
    visit(denial_errors);
    visit(entries);
    visit(array);
    visit(table);
  }

 private:
  void walk(const py::Object& place, const py::List& found, std::vector<py::Object>& above) const;
  void take(const py::Object& importer, const py::Object& name, const py::List& found) const;
  void judge(const py::Object& type, const py::List& found) const;
};

void expose_check_classes(const py::Scope& check);

}  // namespace heron
