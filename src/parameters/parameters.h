#pragma once

#include "runtime/class.h"

namespace heron {

/// Puts the namespace `Parameters` into the module: inputs, and what holds them.
void expose_parameters(const py::Scope& module);

}  // namespace heron
