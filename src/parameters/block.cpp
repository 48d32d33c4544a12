#include "parameters/block.h"

#include "foundation/safe_access.h"
#include "parameters/names.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kGet("get"), kComplex("complex");

/// An entry of stored data; an empty one stands in for what is no mapping.
py::Object mapping(const py::Object& entry) {
  if (safe_access::operation(entry, kGet)) return entry;
  logger::warning(py::text("Incompatible Stored Value - Task of Parameters"));
  return py::Dict();
}

}  // namespace

void ParameterBlock::init(const py::Object& prototypes) {
  inputs = prototypes;
  empty_ = prototypes.length() == 0;
  complex_ = as_info_ = false;
  state = get_state(prototypes);
  tasks.clear();
}

py::List ParameterBlock::defaults() const {
  py::Dict task;
  task.set(names::kAsInfo, py::to_python(as_info_));
  task.set(names::kState, default_state());
  py::List tasks_data;
  tasks_data.append(task);
  return tasks_data;
}

py::List ParameterBlock::data() const {
  py::List data;
  for (const py::Object& task : tasks.items()) data.append(task.attr(names::kData));
  return data;
}

void ParameterBlock::load(const py::Object& stored) const {
  reset();
  const py::Object absent = py::List();  // no stored state is this object
  const bool is_stored = PyList_Check(stored.or_none()) != 0 && stored.length() != 0;
  for (const py::Object& item : (is_stored ? py::List(stored) : defaults()).items()) {
    const py::Object entry = mapping(item);
    const py::Object task_as_info = py::get(entry, names::kAsInfo, py::to_python(as_info_));
    const py::Object task_state = py::get(entry, names::kState, absent);
    add(task_as_info, task_state.is(absent) ? default_state() : task_state);
  }
  update_numerator();
}

py::Ref<ParameterTask> ParameterBlock::append_task() const {
  auto task = add(py::to_python(as_info_), default_state());
  update_numerator();
  return task;
}

void ParameterBlock::remove_task(const py::Object& task) const {
  const auto position = tasks.find(task);
  if (!position) return;
  tasks.remove_at(*position);
  update_numerator();
}

void ParameterBlock::update_numerator() const {
  Py_ssize_t number = 0;
  for (py::Object& task : tasks.items()) py::Ref<ParameterTask>(std::move(task))->number = py::to_python(++number);
}

py::Object ParameterBlock::clone() const {
  const py::Object self = py::object_of(*this);
  py::Dict named;
  named.set(names::kAsInfo, py::to_python(as_info_));
  named.set(kComplex, py::to_python(complex_));
  return py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(self.get()))).apply(inputs, named);
}

py::Object ParameterBlock::build_error() const {
  for (const py::Object& task : tasks.items()) {
    const py::Ref<ParameterTask> one(task);
    if (!one->build_exceptions.empty()) return one->get_build_exceptions().at(0);
  }
  return {};
}

py::Dict ParameterBlock::get_state(const py::Object& inputs) {
  py::Dict state;
  for (const py::Object& input : py::collect(inputs)) {
    try {
      const py::Object data = input.attr(names::kData);
      state.set(input.attr(names::kAttr), data);
    } catch (const py::Error& error) {
      if (!error.matches(PyExc_AttributeError)) throw;  // what is no input shows when a task is made
    }
  }
  return state;
}

py::Object ParameterBlock::default_state() const {
  try {
    return py::modules::copy.call(names::kDeepCopy, state);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    return state;  // the data of a plug-in's own input may be such that there is no copy
  }
}

py::Ref<ParameterTask> ParameterBlock::add(const py::Object& task_as_info, const py::Object& task_state) const {
  auto task = py::made<ParameterTask>(inputs, py::to_python(false));
  task->as_info = task_as_info;  // after the inputs, one of which may have this name
  task->load(task_state);
  tasks.append(task);
  return task;
}

void expose_block(const py::Scope& parameters) {
  const py::Scope scope =
      py::Class<ParameterBlock>(
          parameters, "Block",
          "What a user can set on a check: the prototypes of its inputs, and tasks with values of their own.\n\n"
          "A block has no tasks until `load` or `append_task`. The inputs are not tested here: what is wrong with them "
          "shows in each task. The length is the number of tasks, and a loop gives them in order.")
          .copies()
          .init<&ParameterBlock::init>({py::Parameter::rest("inputs")})
          .length<&ParameterBlock::length>()
          .iterate<&ParameterBlock::iterate>()
          .accessor<&ParameterBlock::defaults>(
              "defaults", "list[dict[str, Any]]: The JSON form of one task with the default values, a new list.")
          .accessor<&ParameterBlock::data>("data",
                                           "list[dict[str, Any]]: The JSON form, a new list of the data of each task.")
          .accessor<&ParameterBlock::empty>("empty", "bool: Whether the block was made without inputs.")
          .accessor<&ParameterBlock::complex, &ParameterBlock::set_complex>(
              "complex", "bool: A mark for the front-end, which decides what it means.")
          .accessor<&ParameterBlock::as_info, &ParameterBlock::set_as_info>(
              "as_info", "bool: Whether new tasks report a failed check as information only.")
          .accessor<&ParameterBlock::length>("length", "int: The number of tasks.")
          .operation<&ParameterBlock::load>(
              "load", {"data"},
              "Replaces the tasks by those of a JSON form; one default task if that is no list, or empty.\n\n"
              "Where an entry lacks \"as_info\" or \"state\", the default stands in. An entry that is no mapping gives "
              "a default task, and a warning is logged. An error in a state is kept by its task.")
          .operation<&ParameterBlock::append_task>("append_task", "Adds a task with the default values; returns it.")
          .operation<&ParameterBlock::remove_task>(
              "remove_task", {"task"},
              "Removes a task and numbers the others anew; nothing for a task of another block.")
          .operation<&ParameterBlock::update_numerator>("update_numerator", "Numbers the tasks in order, from 1.")
          .operation<&ParameterBlock::reset>("reset", "Removes all tasks, the last first.")
          .operation<&ParameterBlock::clone>(
              "clone",
              "Calls the class with the inputs and with `as_info` and `complex` by name: TypeError, unless a derived "
              "class takes these. Tasks are what is cloned.")
          .static_operation<&ParameterBlock::get_state>(
              "_get_state", {"inputs"}, "A new dict of the data of inputs by their names; leaves out what has none.")
          .accessor<&ParameterBlock::empty>("_empty", "bool: The stored `empty`.")
          .accessor<&ParameterBlock::complex>("_complex", "bool: The stored `complex`.")
          .accessor<&ParameterBlock::as_info>("_as_info", "bool: The stored `as_info`.")
          .readonly<&ParameterBlock::inputs>("_inputs", "tuple[Parameters._Input, ...]: The prototypes.")
          .readonly<&ParameterBlock::state>(
              "_state", "dict[str, Any]: The data of the prototypes at construction, by their names.")
          .readonly<&ParameterBlock::tasks>("_tasks", "list[Parameters.Block.Task]: The tasks in order.")
          .done();
  expose_task(scope);
}

}  // namespace heron
