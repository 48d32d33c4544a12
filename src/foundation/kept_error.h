#pragma once

#include "runtime/object.h"

namespace heron {

/// A caught exception as a result keeps it. Where it came from still shows, but the variables of the functions that it
/// has left are let go: they may hold whole scenes.
py::Object kept(const py::Error& error);

/// A new exception of this class, for what the engine itself finds wrong and goes on from.
py::Object kept(PyObject* type, const py::Object& message);

}  // namespace heron
