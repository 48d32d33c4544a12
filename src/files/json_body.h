#pragma once

#include "runtime/object.h"

namespace heron::json_body {

// Documents as they are sent: JSON on one line, each character as itself.

inline constexpr const char *kTypeHeader = "Content-type", *kType = "application/json";

/// What is sent with a body: a new dict of `kTypeHeader`.
py::Object headers();

/// TypeError or ValueError for what JSON cannot hold, RecursionError for what is nested too deep, UnicodeEncodeError
/// for lone surrogates.
py::Object text(const py::Object& document);

/// The encoded body.
py::Object bytes(const py::Object& text);

}  // namespace heron::json_body
