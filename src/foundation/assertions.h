#pragma once

#include "runtime/class.h"

namespace heron {

/// The tests at the borders of the system.
namespace assertions {

/// Refuses a name that an input of parameters cannot have: TypeError, ValueError, or an error of `errors`.
void attribute(const py::Object& name);

/// The document itself, made ready to be written as JSON. RecursionError if it holds itself or is too deep,
/// UnicodeEncodeError for lone surrogates in its keys or texts.
py::Object clean(const py::Object& data);

}  // namespace assertions

/// Returns the scope `_Assert`, for the tests that stand with what they test.
py::Scope expose_assertions(const py::Scope& module);

}  // namespace heron
