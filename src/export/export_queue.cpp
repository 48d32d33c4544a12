#include "export/export_queue.h"

namespace heron {

void ExportTask::init(const py::Object& task_name) {
  *this = ExportTask();
  name = task_name;
}

void ExportTask::add(const py::Iterable& paths) const {
  static const py::Name kExtend("extend");
  roots.call(kExtend, paths);
}

void expose_export_queue(const py::Scope& exporting) {
  const py::Scope queue =
      py::Class<ExportQueue>(exporting, "Queue", "What is to be exported: a task for each file, in order.")
          .copies()
          .init<&ExportQueue::init>({})
          .iterate<&ExportQueue::iterate>()
          .length<&ExportQueue::size>()
          .operation<&ExportQueue::add>("add", {"task"}, "Appends a task.")
          .operation<&ExportQueue::clear>("clear", "Removes all tasks, the last first.")
          .operation<&ExportQueue::is_empty>("is_empty", "Whether there is no task.")
          .readonly<&ExportQueue::tasks>("_tasks", "list[_Export.Queue.Task]: The tasks in order.")
          .done();

  py::Class<ExportTask>(queue, "Task", "What goes into one exported file, and whether that was written.")
      .copies()
      .init<&ExportTask::init>({"name"})
      .operation<&ExportTask::confirm>("confirm", "Marks the task as exported.")
      .operation<&ExportTask::is_confirmed>("is_confirmed", "Whether the task was exported.")
      .operation<&ExportTask::is_empty>("is_empty", "Whether the task has no objects.")
      .operation<&ExportTask::add>("add", {py::Parameter::rest("paths")}, "Appends objects.")
      .field<&ExportTask::name>("name", "str: The name of the task.")
      .field<&ExportTask::roots>("roots", "list[str]: The paths of the objects.")
      .field<&ExportTask::path>(
          "path", "str | None: The file that it went to, or should have; None as long as that has no name.")
      .field<&ExportTask::error>("error", "Exception | None: Why it was not written.")
      .readonly<&ExportTask::confirmed>("_confirmed", "bool: One of `Constants.Plugin.Status`.")
      .done();
}

}  // namespace heron
