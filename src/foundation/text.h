#pragma once

#include "runtime/class.h"

namespace heron {

/// The one encoding of all files and bodies.
inline constexpr std::string_view kEncoding = "utf-8";

/// The class `_Str`.
PyObject* str_class();

/// Text from outside as the system's own text class; any other value comes back as it is.
py::Object to_str(const py::Object& value);

/// Fills the `{}` of a message template with these values.
py::Object format(std::string_view pattern, const std::vector<py::Object>& values);

/// A value as it stands in a message; the runtime's own words for one that cannot be turned into text.
py::Object printable(const py::Object& value);

void expose_text(const py::Scope& module);

}  // namespace heron
