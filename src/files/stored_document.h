#pragma once

#include <functional>
#include <string_view>

#include "runtime/containers.h"

namespace heron {

/// The document in a file as its owner takes it up; none where it cannot be read, which is logged, and then `failure`
/// says why. A corrupted file is moved aside, with this message, in which `{}` stands for the path.
py::Object read_stored_document(const py::Object& path, std::string_view corrupted, py::Object& failure);

/// Makes this the document in a file. What cannot be written is refused before the file is touched, and if the writing
/// itself fails the old file is put back.
void replace_stored_document(const py::Object& path, const py::Dict& contents);

/// Changes the document in a file, which is empty where there is none. A corrupted file is logged and moved aside in
/// the same way, and a new one written; other errors pass.
void change_stored_document(const py::Object& path, std::string_view corrupted,
                            const std::function<void(const py::Object& document)>& change);

}  // namespace heron
