#include "files/paths.h"

#include "runtime/modules.h"

namespace heron::paths {

namespace modules = py::modules;

py::Object join(const py::Object& directory, const py::Object& name) {
  static const py::Name kJoin("join");
  return modules::path.call(kJoin, directory, name);
}

py::Object normalised(const py::Object& path) {
  static const py::Name kNormpath("normpath");
  return modules::path.call(kNormpath, path);
}

py::Object directory(const py::Object& path) {
  static const py::Name kDirname("dirname");
  return modules::path.call(kDirname, path);
}

py::Object file_name(const py::Object& path) {
  static const py::Name kBasename("basename");
  return modules::path.call(kBasename, path);
}

bool is_path(const py::Object& value) {
  static const py::Name kFsPath("__fspath__");
  return value.is_text() || PyObject_HasAttr(reinterpret_cast<PyObject*>(Py_TYPE(value.or_none())), kFsPath.get()) != 0;
}

py::Object plain(const py::Object& value) {
  static const py::Name kFsDecode("fsdecode");
  return is_path(value) && !value.is_text() ? modules::os.call(kFsDecode, value) : value;
}

bool exist(const py::Object& path) {
  static const py::Name kExists("exists");
  return modules::path.call(kExists, path).truth();
}

void remove(const py::Object& path) {
  static const py::Name kRemove("remove");
  modules::os.call(kRemove, path);
}

void make_directory(const py::Object& path) {
  static const py::Name kMkdir("mkdir");
  if (exist(path)) return;
  try {
    modules::os.call(kMkdir, path);
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_FileExistsError)) throw;  // another process was faster
  }
}

}  // namespace heron::paths
