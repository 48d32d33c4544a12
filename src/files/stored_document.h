#pragma once

#include <string_view>

#include "runtime/object.h"

namespace heron {

/// The document in a file as its owner takes it up; none where it cannot be read, which is logged. A corrupted file is
/// moved aside, with this message, in which `{}` stands for the path.
py::Object read_stored_document(const py::Object& path, std::string_view corrupted);

}  // namespace heron
