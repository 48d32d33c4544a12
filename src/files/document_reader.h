#pragma once

#include <optional>
#include <vector>

#include "runtime/object.h"

namespace heron {

/// How the reading of a document ended.
struct ReadDocument {
  py::Object document;             ///< An empty map where there is no file.
  std::optional<py::Error> error;  ///< Why there is none.
};

/// Reads documents of one directory, each when it is its turn in the queue of the document, but with one wait for all.
/// Those that others are busy with are waited for as ever. Interrupts pass, and leave no marker.
std::vector<ReadDocument> read_documents(const std::vector<py::Object>& paths);

}  // namespace heron
