#pragma once

#include "runtime/class.h"

namespace heron {

/// What the user works on. The values are kept as they were read.
class WorkspaceSettings {
 public:
  void init(const py::Object& data);

  py::Dict data() const;  ///< The JSON form.

  py::Object project = py::text("");
  py::Object check_updates = py::to_python(false);

  template <class V>
  void members(V& visit) {
    visit(project);
    visit(check_updates);
  }
};

/// Puts `Workspace` into `_Settings`.
void expose_workspace_settings(const py::Scope& settings);

}  // namespace heron
