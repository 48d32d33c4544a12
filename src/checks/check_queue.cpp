#include "checks/check_queue.h"

#include <algorithm>

#include "foundation/constants.h"
#include "foundation/text.h"

namespace heron {
namespace {

const py::Name kResults("results"), kCouldBeFixed("could_be_fixed");

/// The statuses, the more severe the later.
const py::Object& level_order() {
  static const auto* order = [] {
    std::vector<py::Object> levels;
    for (const auto status : {constants::kPass, constants::kInfo, constants::kFail, constants::kError}) {
      levels.push_back(to_str(py::text(status)));
    }
    return new py::Object(py::tuple(levels));
  }();
  return *order;
}

/// How severe a status is; an unknown one is as good as a pass.
Py_ssize_t severity(const py::Object& status) {
  const Py_ssize_t found = PySequence_Index(level_order().get(), status.or_none());
  if (found >= 0) return found;
  if (PyErr_ExceptionMatches(PyExc_ValueError) == 0) throw py::Error();
  PyErr_Clear();
  return 0;
}

py::Dict order_indices() {
  const py::Dict indices;
  for (const py::Object& level : py::collect(level_order())) indices.set(level, py::to_python(severity(level)));
  return indices;
}

bool is_fixable(const py::Object& result) { return result.attr(kCouldBeFixed).truth(); }

}  // namespace

void CheckTask::init(const py::Object& object_path, const py::Object& controls, const py::Object& label,
                     const py::Object& picture) {
  name = label.is_none() ? object_path : label;
  path = object_path;
  icon = picture;
  check_controls = controls;
  results = py::Ref<CheckResultList>::make();
}

py::Object CheckTask::status() const {
  static const py::Name kStatus("status");
  Py_ssize_t worst = 0;
  for (const py::Object& result : py::collect(results)) worst = std::max(worst, severity(result.attr(kStatus)));
  return py::Object::borrow(PyTuple_GetItem(level_order().get(), worst));
}

void CheckQueue::fix_all() const {
  static const py::Name kFixResult("fix_result");
  for (const py::Object& task : tasks.items()) {
    for (const py::Object& result : py::collect(task.attr(kResults))) {
      if (is_fixable(result)) result.call(kFixResult);
    }
  }
}

bool CheckQueue::fix_exists() const {
  return std::ranges::any_of(tasks.items(), [](const py::Object& task) {
    return std::ranges::any_of(py::collect(task.attr(kResults)), is_fixable);
  });
}

void expose_check_queue(const py::Scope& check) {
  const py::Scope scope =
      py::Class<CheckQueue>(check, "_Queue", "The tasks of a validation run. A loop gives them, in order.")
          .copies()
          .iterate<&CheckQueue::iterate>()
          .length<&CheckQueue::size>()
          .operation<&CheckQueue::add>("add", {"task"}, "Appends a task.")
          .operation<&CheckQueue::clear>("clear", "Removes all tasks, one at a time from the end.")
          .operation<&CheckQueue::is_empty>("is_empty", "Whether there is no task.")
          .operation<&CheckQueue::fix_all>("fix_all", "Has each result that can be fixed do so, once.")
          .operation<&CheckQueue::fix_exists>("fix_exists", "Whether some result can be fixed.")
          .readonly<&CheckQueue::tasks>("_tasks", "list[Check._Queue.Task]: The tasks in order.")
          .done();

  const py::Scope task =
      py::Class<CheckTask>(scope, "Task",
                           "An object to examine, or the scene, with the checks to run on it and their results.\n\n"
                           "Args:\n"
                           "    name: The path if it is None.\n"
                           "    icon: Display data, or None.")
          .copies()
          .init<&CheckTask::init>({"path", "check_controls", {"name", nullptr}, {"icon", nullptr}})
          .accessor<&CheckTask::empty>("empty", "bool: Whether there is no result.")
          .accessor<&CheckTask::status>("status", "str: The most severe status of the results; pass without any.")
          .field<&CheckTask::name>("name", "str: The name for display.")
          .field<&CheckTask::path>("path", "str: The object's path, as the checks get it.")
          .field<&CheckTask::icon>("icon", "Any: Display data, or None.")
          .field<&CheckTask::check_controls>(
              "check_controls", "Sequence[Check._List.Control]: The controls of the checks to run, in order.")
          .field<&CheckTask::results>("results", "Check._Queue.Task.Result.List: The `Result.List` that the run fills.")
          .attribute("_level_order", level_order())
          .attribute("_order_indices", order_indices())
          .done();

  expose_check_result(task);
}

}  // namespace heron
