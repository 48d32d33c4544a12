#pragma once

#include "checks/check_result.h"

namespace heron {

/// An object to examine, or the scene, with the checks to run on it and their results.
class CheckTask {
 public:
  void init(const py::Object& object_path, const py::Object& controls, const py::Object& label,
            const py::Object& picture);
  bool empty() const { return results.length() == 0; }
  py::Object status() const;  ///< The most severe one of the results.

  py::Object name, path, icon, check_controls;
  py::Object results = py::Ref<CheckResultList>::make();

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&name, &path, &icon, &check_controls, &results}) visit(*field);
  }
};

/// The tasks of a validation run, with their results.
class CheckQueue {
 public:
  void add(const py::Object& task) const { tasks.append(task); }
  void clear() const { tasks.clear(); }
  bool is_empty() const { return tasks.empty(); }
  py::Object iterate() const { return py::iterator(tasks.items()); }
  Py_ssize_t size() const { return tasks.size(); }

  void fix_all() const;
  bool fix_exists() const;

  py::List tasks;

  template <class V>
  void members(V& visit) {
    visit(tasks);
  }
};

void expose_check_queue(const py::Scope& check);

}  // namespace heron
