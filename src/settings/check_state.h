#pragma once

#include "settings/check_directories.h"
#include "settings/check_presets.h"

namespace heron {

/// What a user has set up for checks.
class CheckState {
 public:
  void init(const py::Object& data);

  py::Dict data() const;  ///< The JSON form.

  py::Ref<CheckDirectoryList> directories = py::Ref<CheckDirectoryList>::make();
  py::Object mode = py::to_python(0);  ///< What a validation looks at: the selection.
  py::Ref<CheckConfig> config = py::Ref<CheckConfig>::make();
  py::Ref<CheckPresets> presets = py::Ref<CheckPresets>::make();

  template <class V>
  void members(V& visit) {
    visit(directories);
    visit(mode);
    visit(config);
    visit(presets);
  }
};

/// Puts `State` into `_Settings.Check`.
void expose_check_state(const py::Scope& check);

}  // namespace heron
