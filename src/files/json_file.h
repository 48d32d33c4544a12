#pragma once

#include "runtime/object.h"

namespace heron::json_file {

// Documents on disk. Nobody is kept away meanwhile: that is what the access queue is for.

/// The value in a file. ValueError for what is no JSON or no UTF-8, RecursionError for what is nested too deep.
py::Object read(const py::Object& path);

/// Replaces the file's content. What cannot be written is refused first, as far as it can be told without writing; any
/// other failure leaves a file that the next reader finds corrupted.
void write(const py::Object& path, const py::Object& data);

/// Raises what `write` would raise of this document, for a file whose old content must outlive a failure.
void rehearse(const py::Object& data);

/// The name with the present time in it: "settings-1763200000.json".
py::Object timed_name(const py::Object& file_name);

/// Moves a file into ".corrupted" beside it, under its timed name. A failure is logged, and the file stays.
void move_corrupted(const py::Object& path);

}  // namespace heron::json_file
