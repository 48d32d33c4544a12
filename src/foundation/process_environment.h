#pragma once

#include "runtime/object.h"

namespace heron {

/// The variables of the process: how it tells other code in it, and the processes that it starts, where it is.
namespace process_environment {

py::Object get(const py::Name& key);  ///< None where it is not set.
void set(const char* key, const py::Object& value);

}  // namespace process_environment
}  // namespace heron
