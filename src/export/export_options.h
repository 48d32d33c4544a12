#pragma once

#include "runtime/class.h"

namespace heron {

/// The exporters on offer, each with its options, one of them selected.
class ExportOptions {
 public:
  void init(const py::Object& offered);

  py::Object get_selected() const { return selected; }
  py::Object iterate() const { return py::iterator(options.items()); }
  py::Dict data() const;  ///< The JSON form.

  void select(const py::Object& option);
  void select_any();
  void load(const py::Object& stored);
  py::Ref<ExportOptions> clone() const;

  py::List options;
  py::Object selected;
  py::Object ignored = py::tuple({});  ///< Keys of the values that the last `load` could not use.

  template <class V>
  void members(V& visit) {
    visit(options);
    visit(selected);
    visit(ignored);
  }
};

/// Puts `Options` into `_Export`.
void expose_export_options(const py::Scope& exporting);

}  // namespace heron
