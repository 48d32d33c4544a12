#pragma once

#include <functional>
#include <string_view>

#include "runtime/object.h"

namespace heron {

/// The document in a file as its owner takes it up; none where it cannot be read, which is logged. A corrupted file is
/// moved aside, with this message, in which `{}` stands for the path.
py::Object read_stored_document(const py::Object& path, std::string_view corrupted);

/// Changes the document in a file, which is empty where there is none. A corrupted file is logged and moved aside in
/// the same way, and a new one written; other errors pass.
void change_stored_document(const py::Object& path, std::string_view corrupted,
                            const std::function<void(const py::Object& document)>& change);

}  // namespace heron
