#pragma once

#include "runtime/class.h"

namespace heron {

/// `_File`: what reads, writes and guards the data files.
void expose_files(const py::Scope& module);

}  // namespace heron
