#pragma once

#include "runtime/class.h"

namespace heron {

/// Where one host application keeps its files. Each host integration provides one subclass, in Python.
class Environment {
 public:
  void init() const;  ///< Tells code in the same process where it is, through the process's environment.

  py::Object root() const;  ///< The hidden directory in the user's home, created if missing.

  // Abstract: what a subclass leaves out raises when it is used.
  py::Object target() const;
  py::Object scope() const;
  void get_settings_file() const;
  void get_settings_directory() const;
  void get_projects_directory() const;
  void get_statistics_file() const;

  // Stored paths hold "~" for the user's home, and forward slashes.
  static py::Object decode_user(const py::Object& path);
  static py::Object encode_user(const py::Object& path);
};

/// The environment of the standalone case: everything beside the library's own file.
class LocalEnv : public Environment {
 public:
  void init();

  py::Object root() const;
  py::Object target() const;
  py::Object scope() const;  ///< The operating system and its release.
  py::Object get_settings_file() const;
  py::Object get_settings_directory() const { return settings; }
  py::Object get_projects_directory() const { return projects; }
  py::Object get_statistics_file() const;

  py::Object settings, projects;

  template <class V>
  void members(V& visit) {
    visit(settings);
    visit(projects);
  }
};

/// Can this object serve as the environment? What it raises is logged and counts as no.
bool is_environment(const py::Object& instance);

/// Puts `Environment` and its like into the module, and their test into `_Assert`.
void expose_environment(const py::Scope& module, const py::Scope& assertions);

}  // namespace heron
