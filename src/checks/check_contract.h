#pragma once

#include "runtime/class.h"

namespace heron {

/// Why a class cannot serve as a check: the first thing that is wrong with it, as text; None if it can. It is asked
/// everything that the engine uses of a check; an exception that it raises then is logged.
py::Object check_refusal(const py::Object& type);

/// Puts `Check.is_valid` into the tests.
void expose_check_contract(const py::Scope& assertions);

}  // namespace heron
