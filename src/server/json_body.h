#pragma once

#include "runtime/object.h"

namespace heron::json_body {

// Documents as they are sent: JSON on one line, each character as itself.

/// TypeError or ValueError for what JSON cannot hold, RecursionError for what is nested too deep.
py::Object text(const py::Object& document);

/// The encoded body; UnicodeEncodeError for lone surrogates.
py::Object bytes(const py::Object& text);

/// Can the document be written at all?
bool is_writable(const py::Object& document);

}  // namespace heron::json_body
