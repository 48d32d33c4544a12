#pragma once

#include <optional>

#include "foundation/kept_error.h"
#include "runtime/class.h"

namespace heron {

/// Why a class cannot serve as a check: the first thing that is wrong with it, and what it raised, or none.
struct Refusal {
  py::Object reason, error;
};

/// Asks a class everything that the engine uses of a check; an exception that it raises then is logged. Nothing if it
/// can serve.
std::optional<Refusal> check_refusal(const py::Object& type);

/// Puts `Check.is_valid` into the tests.
void expose_check_contract(const py::Scope& assertions);

}  // namespace heron
