#pragma once

#include "runtime/object.h"

namespace heron {

/// NotImplementedError of an abstract class, for what a host integration has to provide.
[[noreturn]] inline void not_implemented(const char* operation) {
  py::raise(PyExc_NotImplementedError, std::string(operation) + "() must be implemented by the host");
}

}  // namespace heron
