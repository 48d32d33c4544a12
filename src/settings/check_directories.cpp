#include "settings/check_directories.h"

#include "foundation/text.h"
#include "runtime/modules.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kName("name"), kPath("path"), kEnabled("enabled"), kDirectories("directories");
const py::Name kAbsPath("abspath"), kDirName("dirname"), kIsDir("isdir"), kFile("__file__");

}  // namespace

py::Object CheckDirectory::absolute(const py::Object&, const paths::Argument& path, bool, bool) {
  return py::modules::path.call(kAbsPath, path);
}

void CheckDirectory::init(const py::Object& name, const paths::Argument&, bool enable, bool locked) {
  name_ = name;
  enabled_ = enable;
  locked_ = locked;
}

void CheckDirectory::set_enabled(const py::Object& value) {
  if (!PyBool_Check(value.get())) py::raise_type("attribute 'enabled' must be bool, not " + value.type_name());
  enabled_ = value.truth();
}

py::Dict CheckDirectory::data() const {
  py::Dict data;
  data.set(kName, name_);
  data.set(kPath, to_str(py::object_of(*this)));
  data.set(kEnabled, py::to_python(enabled_));
  return data;
}

py::Object CheckDirectory::new_arguments() const {
  return py::tuple({name_, py::Object::steal(PyUnicode_FromObject(py::object_of(*this).get()))});
}

void CheckDirectoryList::init(const py::Iterable& data) {
  items().clear();
  embedded = py::Object::none();
  for (const py::Object& stored : document::maps(data, kDirectories)) {
    const py::Object path = py::get(stored, kPath, py::text(""));
    if (paths::is_path(path)) {
      add_stored(stored, paths::Argument(path));
    } else {
      document::warn(kPath);  // its default would be the working directory, which nobody has asked for
    }
  }
}

void CheckDirectoryList::add_stored(const py::Object& stored, const paths::Argument& path) const {
  py::Object enable = py::get(stored, kEnabled, py::to_python(true));
  if (PyBool_Check(enable.or_none()) == 0) {
    document::warn(kEnabled);
    enable = py::to_python(true);
  }
  try {
    add_new(py::get(stored, kName, py::text("")), path, enable);
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_OSError)) throw;
    document::warn(kPath);  // a relative path, and the working directory is gone
  }
}

py::List CheckDirectoryList::data() const {
  py::List data;
  for (py::Object& directory : items().items()) {
    if (!directory.equals(embedded)) data.append(py::Ref<CheckDirectory>(std::move(directory))->data());
  }
  return data;
}

py::Object CheckDirectoryList::add(const py::Object& other) const {
  auto both = py::Ref<CheckDirectoryList>::make();
  both->extend(items());
  if (py::Ref<CheckDirectoryList>::holds(other)) both->extend(py::Iterable(other));
  return both;
}

void CheckDirectoryList::embed(const py::Object& module) {
  if (!PyModule_Check(module.get())) return;
  const py::Object file = paths::plain(module.attr(kFile, py::Object::none()));
  if (!file.is_text()) return;  // a module of the runtime itself, or a package without a file of its own
  const py::Object yes = py::to_python(true);
  embedded = py::type_of<CheckDirectory>()(py::text("Default"), py::modules::path.call(kDirName, file), yes, yes);
  append(embedded);
}

void CheckDirectoryList::add_new(const py::Object& name, const paths::Argument& path, const py::Object& enable) const {
  const py::Ref<CheckDirectory> directory(py::type_of<CheckDirectory>()(name, path));
  directory->set_enabled(enable);
  append(directory);
}

void CheckDirectoryList::add_in_place(const py::Object& other) const { extend(py::Iterable(other)); }

void CheckDirectoryList::insert(Py_ssize_t index, const py::Object& directory) const {
  if (is_approved(directory)) items().insert(index, directory);
}

void CheckDirectoryList::append(const py::Object& directory) const {
  if (is_approved(directory)) items().append(directory);
}

void CheckDirectoryList::extend(const py::Iterable& directories) const {
  std::vector<py::Object> approved = py::collect(directories);
  std::erase_if(approved, [this](const py::Object& directory) { return !is_approved(directory); });
  for (const py::Object& directory : approved) items().append(directory);
}

bool CheckDirectoryList::is_approved(const py::Object& directory) const {
  return py::Ref<CheckDirectory>::holds(directory) && py::modules::path.call(kIsDir, directory).truth() &&
         !py::holds(items(), directory);
}

void expose_check_directory(const py::Scope& check) {
  const py::Scope scope =
      py::Class<CheckDirectory>(check, "Directory",
                                "A directory in which check classes are looked for.\n\n"
                                "It is a text, the absolute and normalised `path`, so it serves as a path itself. "
                                "`name` is for display; `locked` tells a front-end not to change the directory.")
          .copies()
          .derives(str_class())
          .init<&CheckDirectory::init, &CheckDirectory::absolute>({"name", "path", {"enable", true}, {"locked", false}})
          .accessor<&CheckDirectory::name>("name", "str: The name for display.")
          .accessor<&CheckDirectory::enabled, &CheckDirectory::set_enabled>(
              "enabled", "bool: Whether classes are looked for here. TypeError for anything but a boolean.")
          .accessor<&CheckDirectory::locked>("locked", "bool: Whether the front-end may not change the directory.")
          .accessor<&CheckDirectory::data>(
              "data", "dict[str, Any]: The JSON form, a new dict of \"name\", \"path\" and \"enabled\".")
          .accessor<&CheckDirectory::name>("_name", "str: The stored `name`.")
          .accessor<&CheckDirectory::enabled>("_enabled", "bool: The stored `enabled`.")
          .accessor<&CheckDirectory::locked>("_locked", "bool: The stored `locked`.")
          .operation<&CheckDirectory::new_arguments>("__getnewargs__", "What `copy` and `pickle` make the text from.")
          .done();

  py::Class<CheckDirectoryList>(
      scope, "List",
      "The directories in which check classes are looked for, in order: a list of `Directory`.\n\n"
      "Built from the JSON form, a list of maps with \"name\", \"path\" and \"enabled\". Only a directory that exists, "
      "and is not in the list yet, is taken in; others are left out without a word, in whatever way they are added. A "
      "stored element that is no map or has a path that is no text is left out with a warning; one whose \"enabled\" "
      "is "
      "no boolean is enabled, with a warning.")
      .copies()
      .derives(reinterpret_cast<PyObject*>(&PyList_Type))
      .init<&CheckDirectoryList::init>({"data"})
      .accessor<&CheckDirectoryList::data>(
          "data", "list[dict[str, Any]]: The JSON form, a new list. The embedded directory is left out.")
      .operation<&CheckDirectoryList::embed>(
          "embed", {"module"},
          "Adds the directory of a module as \"Default\", locked and never stored.\n\n"
          "Nothing happens for what is no module, or one without a file.")
      .operation<&CheckDirectoryList::add_new>("register", {"name", "path", {"enable", true}},
                                               "Adds a new directory. TypeError unless `enable` is a boolean.")
      .operation<&CheckDirectoryList::insert>("insert", {"index", "directory"},
                                              "Puts a directory before this position, if it is approved.")
      .operation<&CheckDirectoryList::append>("append", {"directory"},
                                              "Adds a directory at the end, if it is approved.")
      .operation<&CheckDirectoryList::extend>("extend", {"directories"},
                                              "Adds the approved ones of these directories.\n\n"
                                              "All are judged before the first is added.")
      .operation<&CheckDirectoryList::is_approved>("_is_approved", {"directory"},
                                                   "Whether it is a `Directory` that exists and is not in the list.")
      .readonly<&CheckDirectoryList::embedded>("_embedded",
                                               "_Settings.Check.Directory | None: The embedded directory, or None.")
      .add<&CheckDirectoryList::add>()
      .add_in_place<&CheckDirectoryList::add_in_place>()
      .done();
}

}  // namespace heron
