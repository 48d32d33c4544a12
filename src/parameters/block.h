#pragma once

#include "parameters/task.h"

namespace heron {

/// What can be set on a check: the prototypes of its inputs, and the tasks, each with values of its own.
class ParameterBlock {
 public:
  void init(const py::Object& prototypes);

  py::List defaults() const;  ///< The JSON form of one task with the default state.
  py::List data() const;      ///< The JSON form: that of each task.
  bool empty() const { return empty_; }
  bool complex() const { return complex_; }
  bool as_info() const { return as_info_; }
  void set_complex(const py::Object& value) { complex_ = value.truth(); }
  void set_as_info(const py::Object& value) { as_info_ = value.truth(); }
  Py_ssize_t length() const { return tasks.size(); }
  py::Object iterate() const { return py::iterator(tasks.items()); }

  void load(const py::Object& stored) const;  ///< Replaces the tasks; there is at least one afterwards.
  py::Ref<ParameterTask> append_task() const;
  void remove_task(const py::Object& task) const;
  void update_numerator() const;  ///< Numbers the tasks from 1.
  void reset() const { tasks.clear(); }
  py::Object clone() const;

  py::Object build_error() const;  ///< Why a task has no inputs: the first error of their building, or none.

  static py::Dict get_state(const py::Object& inputs);

  py::Object inputs = py::tuple({});
  py::Dict state;  ///< The default one.
  py::List tasks;

  template <class V>
  void members(V& visit) {
    visit(inputs);
    visit(state);
    visit(tasks);
    for (bool* field : {&empty_, &complex_, &as_info_}) visit(*field);
  }

 private:
  py::Object default_state() const;  ///< A copy, so that no input can change the default by what it loads.
  py::Ref<ParameterTask> add(const py::Object& task_as_info, const py::Object& task_state) const;

  bool empty_ = true, complex_ = false, as_info_ = false;
};

/// Puts `Block` into `Parameters`, and its `Task`.
void expose_block(const py::Scope& parameters);

}  // namespace heron
