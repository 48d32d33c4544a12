#pragma once

#include "runtime/class.h"

namespace heron {

/// The switches of an export. The values are kept as they came.
class ExportFlags {
 public:
  void init() { *this = ExportFlags(); }
  void load(const py::Object& stored);
  py::Dict data() const;  ///< The JSON form.

  py::Object automatic_uv = py::to_python(false);
  py::Object triangulate = py::to_python(false);
  py::Object reset_xforms = py::to_python(false);
  py::Object version_control = py::to_python(false);

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&automatic_uv, &triangulate, &reset_xforms, &version_control}) visit(*field);
  }
};

/// Puts `Flags` into `_Export`.
void expose_export_flags(const py::Scope& exporting);

}  // namespace heron
