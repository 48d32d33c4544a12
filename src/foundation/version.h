#pragma once

#include "runtime/class.h"

namespace heron {

/// Puts `version` into the module: major, minor, patch.
void expose_version(const py::Scope& module);

}  // namespace heron
