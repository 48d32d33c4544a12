#pragma once

#include "runtime/class.h"

namespace heron {

/// Where exported files went last. The values are kept as they were read.
class ExportSettings {
 public:
  void init(const py::Object& data);

  py::Dict data() const;  ///< The JSON form.

  py::Object mode = py::to_python(0);  ///< The user chooses.
  py::Object directory = py::text("~");

  template <class V>
  void members(V& visit) {
    visit(mode);
    visit(directory);
  }
};

/// Puts `Export` into `_Settings`.
void expose_export_settings(const py::Scope& settings);

}  // namespace heron
