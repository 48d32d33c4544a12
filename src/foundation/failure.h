#pragma once

#include "runtime/class.h"

namespace heron {

/// Telling the author of a plug-in or a host what failed in it, and where.
namespace failure {

/// The line that an error came from, as "studio/placement.py, line 14": the deepest in this file, without one in that
/// of the function that was called, or else the deepest at all. None for an error that passed no Python code.
py::Object place(const py::Object& error, const py::Object& file = {});

/// An error in one line: "KeyError in studio/placement.py, line 14: 'name'", and then its notes.
py::Object told(const py::Object& error, const py::Object& file = {});

// Of a class from outside, which may do anything when it is asked.
py::Object name_of(const py::Object& type);
py::Object file_of(const py::Object& type);  ///< That of its module; none where that is not loaded.

/// Adds words to an error whose own must stay as they are; Python shows them below these.
void note(const py::Object& error, const py::Object& words);

/// Raises a TypeError without a message, which these words stand beside.
[[noreturn]] void raise_type(const py::Object& words);

/// A value as such words show it.
py::Object shown(const py::Object& value);

/// Tells the log of an error that it has had a record of already: at level info in one line, at level debug in full.
void log(const py::Object& who, const py::Error& error, const py::Object& file = {});

}  // namespace failure
}  // namespace heron
