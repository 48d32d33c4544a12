#pragma once

#include "runtime/class.h"

namespace heron {

/// A module of a directory of plug-ins, run under a name that no other module has, such as "_plugin_7.placement": two
/// modules of one name share nothing. It stands in `sys.modules` for as long as `entry` is held, so that the runtime
/// finds it by the name that its classes and functions tell.
struct PluginModule {
  py::Object module, entry;

  /// Raises what the module raises.
  static PluginModule run(const py::Object& importer, const py::Object& name);
};

}  // namespace heron
