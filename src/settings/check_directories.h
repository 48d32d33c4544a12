#pragma once

#include "files/paths.h"
#include "runtime/class.h"

namespace heron {

/// A directory in which check classes are looked for. The object is a text: the absolute, normalised path.
class CheckDirectory {
 public:
  static py::Object absolute(const py::Object& name, const paths::Argument& path, bool enable, bool locked);

  void init(const py::Object& name, const paths::Argument& path, bool enable, bool locked);

  const py::Object& name() const { return name_; }
  bool enabled() const { return enabled_; }
  bool locked() const { return locked_; }     ///< The front-end may not change it.
  void set_enabled(const py::Object& value);  ///< TypeError unless it is a boolean.
  py::Dict data() const;                      ///< The JSON form.
  py::Object new_arguments() const;           ///< What makes a text of the same characters.

  template <class V>
  void members(V& visit) {
    visit(name_);
    visit(enabled_);
    visit(locked_);
  }

 private:
  py::Object name_ = py::Object::none();
  bool enabled_ = true;
  bool locked_ = false;
};

/// The directories in order: those that exist, each once. The object is a list.
class CheckDirectoryList {
 public:
  void init(const py::Iterable& data);

  py::List data() const;                          ///< The JSON form, without the embedded directory.
  py::Object add(const py::Object& other) const;  ///< A new list of both.
  void add_in_place(const py::Object& other) const;
  void embed(const py::Object& module);  ///< Adds the directory of a module, if it is one with a file.
  /// `register`, which is a keyword of C++.
  void add_new(const py::Object& name, const paths::Argument& path, const py::Object& enable) const;

  // What is not approved is left out without a word.
  void insert(Py_ssize_t index, const py::Object& directory) const;
  void append(const py::Object& directory) const;
  void extend(const py::Iterable& directories) const;
  bool is_approved(const py::Object& directory) const;  ///< A directory that exists and is not in the list.

  py::Object embedded = py::Object::none();

  template <class V>
  void members(V& visit) {
    visit(embedded);
  }

 private:
  void add_stored(const py::Object& stored, const paths::Argument& path) const;
  py::List items() const { return py::List(py::object_of(*this)); }
};

/// Puts `Directory` and its `List` into `_Settings.Check`.
void expose_check_directory(const py::Scope& check);

}  // namespace heron
