#pragma once

#include "runtime/object.h"

namespace heron {

/// A new identity for a thing that is kept in a document: 16 lower-case hexadecimal digits of a random UUID.
py::Object fresh_stamp();

}  // namespace heron
