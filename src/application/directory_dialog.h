#pragma once

#include "runtime/object.h"

namespace heron {

/// Lets the user choose a directory in the host's dialog, which begins at `starting`; a false value if they cancel.
py::Object ask_directory(const py::Object& host, const py::Object& starting);

}  // namespace heron
