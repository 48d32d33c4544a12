#pragma once

#include "runtime/object.h"

namespace heron::paths {

// Paths as the runtime's `os.path` and `os` know them.

py::Object join(const py::Object& directory, const py::Object& name);
py::Object normalised(const py::Object& path);  ///< Without ".", ".." and doubled separators; the disk is not asked.
py::Object directory(const py::Object& path);   ///< Empty for a bare name.
py::Object file_name(const py::Object& path);

bool exist(const py::Object& path);
void remove(const py::Object& path);

/// Creates one directory unless something of this name exists. Its parent must exist.
void make_directory(const py::Object& path);

}  // namespace heron::paths
