#pragma once

#include "runtime/class.h"

namespace heron {

/// The tests at the borders of the system.
namespace assertions {

/// Refuses a name that an input of parameters cannot have: TypeError, ValueError, or an error of `errors`.
void attribute(const py::Object& name);

/// Returns the document itself after checking that its texts and its depth can be written as JSON. RecursionError if it
/// holds itself or has more than 500 levels, UnicodeEncodeError for lone surrogates in its keys or texts.
py::Object clean(const py::Object& data);

}  // namespace assertions

/// Returns the scope `_Assert`, for the tests that stand with what they test.
py::Scope expose_assertions(const py::Scope& module);

}  // namespace heron
