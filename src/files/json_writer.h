#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "runtime/object.h"

namespace heron::json_writer {

// The layout of all documents: an indent of two blanks, keys in their order, each character as itself, UTF-8. The bytes
// are those of the runtime's own encoder, which takes many times as long.

using Sink = std::function<void(std::string_view piece)>;

/// Hands a document to `sink`, piece by piece; after a failure what comes before it, too.
///
/// Whatever is neither map, list, text, number, boolean nor null goes to the runtime's encoder, for its TypeError.
/// ValueError for an integer of too many digits and for what holds itself, RecursionError for more than 500 levels,
/// UnicodeEncodeError for lone surrogates.
void write(const py::Object& document, const Sink& sink);

std::string bytes(const py::Object& document);  ///< All of it, or a failure.

}  // namespace heron::json_writer
