#pragma once

#include "runtime/class.h"

namespace heron {

/// Puts the namespaces `Structure` and `Check` into the module, and the tests of checks into `_Assert`.
void expose_checks(const py::Scope& module, const py::Scope& assertions);

}  // namespace heron
