#pragma once

#include "runtime/class.h"

namespace heron {

/// The engine's own exceptions, by the names that they have in `Error`.
namespace errors {
[[noreturn]] void wrong_attribute_name(const py::Object& name);
[[noreturn]] void private_attribute_name(const py::Object& name);
}  // namespace errors

void expose_errors(const py::Scope& module);

}  // namespace heron
