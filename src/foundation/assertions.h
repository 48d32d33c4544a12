#pragma once

#include "runtime/class.h"

namespace heron {

/// The tests that guard the borders of the library.
namespace assertions {
void attribute(const py::Object& name);           ///< Raises for a name that an input's attribute cannot have.
py::Object clean(const py::Object& data);         ///< A document made ready for JSON, in place.
}  // namespace assertions

void expose_assertions(const py::Scope& module);

}  // namespace heron
