#pragma once

#include "runtime/class.h"

namespace heron {

/// The local store of the records of use.
class Statistics {};

void expose_statistics(const py::Scope& module);

}  // namespace heron
