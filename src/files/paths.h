#pragma once

#include "runtime/convert.h"

namespace heron::paths {

// Paths as the runtime's `os.path` and `os` know them.

py::Object join(const py::Object& directory, const py::Object& name);
py::Object normalised(const py::Object& path);  ///< Without ".", ".." and doubled separators; the disk is not asked.
py::Object directory(const py::Object& path);   ///< Empty for a bare name.
py::Object file_name(const py::Object& path);

bool is_path(const py::Object& value);      ///< A text, or what `os.fspath` makes one of.
py::Object plain(const py::Object& value);  ///< The text of a path; any other value comes back as it is.

/// A path as an argument, as text: anything else is refused.
class Argument : public py::Text {
 public:
  Argument() = default;
  explicit Argument(const py::Object& path) : py::Text(plain(path)) {}
};

bool exist(const py::Object& path);
void remove(const py::Object& path);

/// Creates one directory unless something of this name exists. Its parent must exist.
void make_directory(const py::Object& path);

}  // namespace heron::paths

template <>
struct heron::py::From<heron::paths::Argument> {
  static bool fits(PyObject* object) { return paths::is_path(Object::borrow(object)); }
  static paths::Argument from(PyObject* object) { return paths::Argument(Object::borrow(object)); }
  static std::string wanted() { return "str or os.PathLike"; }
};
