#pragma once

#include <string>
#include <string_view>

#include "runtime/object.h"

namespace heron::json_file {

// Documents on disk. Nobody is kept away meanwhile: that is what the access queue is for.

/// The value in a file. ValueError for what is no JSON or no UTF-8, RecursionError for what is nested too deep.
py::Object read(const py::Object& path);

/// Replaces the file's content. Lone surrogates and what is nested too deep are refused before the file is touched. Any
/// other failure cuts the file off, and the next reader finds it corrupted: a full disk, but also an object that JSON
/// cannot hold, or an integer of more digits than the runtime writes.
void write(const py::Object& path, const py::Object& data);

/// What `write` would put into the file, or its failure, for a file whose old content must outlive one.
std::string encoded(const py::Object& data);

void put(const py::Object& path, std::string_view encoded);  ///< Makes this the file's content.

bool is_writable(const py::Object& data);  ///< Would `encoded` raise nothing?

/// The name with the present time in it: "settings-1763200000.json".
py::Object timed_name(const py::Object& file_name);

/// Moves a file into ".corrupted" beside it, under its timed name, where it may replace another of the same second. A
/// failure is logged, and the file stays.
void move_corrupted(const py::Object& path);

/// The same for a file whose content must not be lost: replaces no other, and raises if the file stays.
void set_aside(const py::Object& path);

}  // namespace heron::json_file
