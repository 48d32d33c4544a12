#pragma once

#include "runtime/convert.h"

namespace heron::clock {

/// The wall-clock time as Python has it: seconds since the epoch, with their fraction.
py::Object now();

/// How many seconds have passed since a time that `now` gave; negative if the clock was set back.
py::Object since(const py::Object& start);

}  // namespace heron::clock
