#pragma once

#include "runtime/class.h"

namespace heron {

/// `_Software`: which host application this process is.
void expose_host_application(const py::Scope& module);

}  // namespace heron
