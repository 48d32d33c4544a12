#pragma once

#include "runtime/class.h"

namespace heron {

/// What goes into one exported file, and what came of it.
class ExportTask {
 public:
  void init(const py::Object& task_name);
  void confirm() { confirmed = py::to_python(true); }
  py::Object is_confirmed() const { return confirmed; }
  bool is_empty() const { return roots.length() == 0; }
  void add(const py::Iterable& paths) const;

  py::Object name;
  py::Object roots = py::List();
  py::Object confirmed = py::to_python(false);
  py::Object path;   ///< Of the file; none as long as there is no name for it.
  py::Object error;  ///< Why it could not be written.

  template <class V>
  void members(V& visit) {
    visit(name);
    visit(roots);
    visit(confirmed);
    visit(path);
    visit(error);
  }
};

/// What is to be exported, file by file.
class ExportQueue {
 public:
  void init() { tasks = py::List(); }
  py::Object iterate() const { return py::iterator(tasks.items()); }
  Py_ssize_t size() const { return tasks.size(); }
  void add(const py::Object& task) const { tasks.append(task); }
  void clear() const { tasks.clear(); }
  bool is_empty() const { return tasks.empty(); }

  py::List tasks;

  template <class V>
  void members(V& visit) {
    visit(tasks);
  }
};

/// Puts `Queue` into `_Export`, and its `Task`.
void expose_export_queue(const py::Scope& exporting);

}  // namespace heron
