#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "runtime/containers.h"

namespace heron {

/// A document as its owner takes it up.
struct StoredDocument {
  py::Object document;  ///< None where it cannot be read, which is logged.
  py::Object failure;   ///< The exception that says why; none where all went well.
};

/// What becomes of the copy that is made before a document is replaced.
enum class Copy {
  kDropped,  ///< It stands beside the document, and goes when the writing is over.
  kKept,     ///< It stands in ".backup" beside the document, and is that of the last whole state from then on.
};

/// The document in a file. A corrupted file is moved aside, with this message, in which `{}` stands for the path.
StoredDocument read_stored_document(const py::Object& path, std::string_view corrupted);

/// The same for files of one directory, with one wait for all.
std::vector<StoredDocument> read_stored_documents(const std::vector<py::Object>& paths, std::string_view corrupted);

/// Puts the kept copy into the place of a file that was moved aside, and reads it. None where there is no such copy, or
/// it cannot be used, which is logged.
py::Object restore_stored_document(const py::Object& path);

/// Makes this the document in a file. What cannot be written is refused before the file is touched, and if the writing
/// itself fails the old file is put back.
void replace_stored_document(const py::Object& path, const py::Dict& contents, Copy copy = Copy::kDropped);

/// Changes the document in a file, which is empty where there is none; a failure leaves it as above. A corrupted file
/// is logged and moved aside in the same way, and a new one written; other errors pass.
void change_stored_document(const py::Object& path, std::string_view corrupted,
                            const std::function<void(const py::Object& document)>& change);

void remove_kept_copy(const py::Object& path);  ///< If there is one.

}  // namespace heron
