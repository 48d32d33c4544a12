#pragma once

#include "runtime/convert.h"

namespace heron {

/// The path of an exported file: the name and the extension of the type in the directory, normalised.
///
/// With `versioned` the name carries a number above those of all files of the same name and type that stand there.
/// The name is then searched for as a regular expression: `re.error` if it is none.
py::Object export_path(const py::Object& directory, const py::Text& name, const py::Text& type, bool versioned);

}  // namespace heron
