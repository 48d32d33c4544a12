#include "application/export_driver.h"

#include "export/export_flags.h"
#include "export/export_options.h"
#include "export/export_path.h"
#include "files/paths.h"
#include "foundation/constants.h"
#include "foundation/failure.h"
#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "matching/path_text.h"
#include "runtime/finally.h"
#include "runtime/modules.h"
#include "server/statistics_records.h"

namespace heron {
namespace {

const py::Name kSettings("settings"), kStatistics("statistics"), kCallbacks("callbacks"), kMode("mode");
const py::Name kExport("export"), kDirectory("directory"), kName("name"), kVersionControl("version_control");

bool is(const py::Object& mode, auto wanted) { return mode.equals(constants::number(wanted)); }

}  // namespace

void ExportDriver::init(const py::Object& api_, const Host& host_, const py::RefOrNone<Buffer>& buffer_,
                        const py::Object& offered) {
  api = api_;
  host = host_;
  buffer = buffer_;
  options = py::made<ExportOptions>(offered.truth() ? offered : py::tuple({}));
  flags = py::Ref<ExportFlags>::make();
  queue = py::Ref<ExportQueue>::make();
}

// What is exported follows how the user validates; where it goes is a setting of its own.
void ExportDriver::start() {
  static const py::Name kLostExportDirectory("lost_export_directory"), kCheck("check");
  const py::Object directory = get_directory();
  if (!directory.is_text() || !directory.truth() || !paths::exist(directory)) {
    fire(kLostExportDirectory);
    return;
  }
  const py::Object mode = api.attr(kSettings).attr(kCheck).attr(kMode);
  if (is(mode, CheckMode::kProject)) {
    project(directory);
  } else if (is(mode, CheckMode::kSelection)) {
    selected(directory);
  }
}

void ExportDriver::project(const py::Object& directory) {
  static const py::Name kPlan("_plan_project_queue");
  perform(py::object_of(*this).attr(kPlan), directory);
}

void ExportDriver::selected(const py::Object& directory) {
  static const py::Name kPlan("_plan_selection_queue");
  perform(py::object_of(*this).attr(kPlan), directory);
}

py::Object ExportDriver::get_directory() const {
  static const py::Name kProject("project"), kGetCurrent("get_current"), kHistory("history"), kEnv("env");
  static const py::Name kGetRecord("get_record"), kDecodeUser("decode_user"), kFsDecode("fsdecode");
  const py::Object settings = api.attr(kSettings).attr(kExport);
  const py::Object mode = settings.attr(kMode);
  if (is(mode, ExportMode::kProject)) {
    const py::Object record = api.attr(kProject).call(kGetCurrent).attr(kHistory).call(kGetRecord);
    const py::Object directory = paths::plain(record.attr(kExport).attr(kDirectory));
    if (!directory.is_text() || !directory.truth()) return py::Object::none();
    return paths::plain(api.attr(kEnv).call(kDecodeUser, directory));
  }
  if (is(mode, ExportMode::kLocal)) {
    const py::Object file = host.current_file();
    return file.is_text() ? paths::directory(file) : py::Object::none();
  }
  if (!is(mode, ExportMode::kChoose)) return py::Object::none();
  const py::Object chosen = host.ask_directory(paths::plain(settings.attr(kDirectory)));
  if (!chosen.truth()) return py::Object::none();
  py::Object directory = py::modules::os.call(kFsDecode, chosen);  // the settings take text alone
  settings.set_attr(kDirectory, directory);
  return directory;
}

void ExportDriver::perform(const py::Object& planner, const py::Object& directory) {
  // The host has begun another inside this one.
  if (writing_) py::raise(PyExc_RuntimeError, "an export is already running");
  queue->clear();
  planner();
  resolve_queue(directory);
}

void ExportDriver::plan_project_queue() const {
  static const py::Name kChecked("checked"), kJoint("joint");
  for (const py::Object& bucket : buffer->get().items()) {
    if (!bucket.attr(kChecked).truth()) continue;
    const auto task = py::made<ExportTask>(bucket.attr(kName));
    const std::vector<py::Object> roots = Buffer::get_roots(bucket.attr(kJoint)).items();
    if (!exist(roots)) continue;
    task->add(py::Iterable(py::tuple(roots)));
    queue->add(task);
  }
}

void ExportDriver::plan_selection_queue() const {
  for (const py::Object& root : host.selection_roots().items()) {
    const auto task = py::made<ExportTask>(py::text(path_text::short_name(py::Utf8(root))));
    task->add(py::Iterable(py::tuple({root})));
    queue->add(task);
  }
}

bool ExportDriver::exist(const std::vector<py::Object>& paths) const {
  bool all = true;
  for (const py::Object& path : paths) {
    if (!host.exists(path)) all = false;
  }
  return all;
}

void ExportDriver::resolve_queue(const py::Object& directory) {
  static const py::Name kEmptySelection("empty_export_selection"), kSuccess("export_success");
  static const py::Name kSkipped("export_skipped"), kIsEmpty("is_empty"), kIsConfirmed("is_confirmed");
  static const py::Name kSelected("selected"), kAdd("add"), kWrite("write");
  const auto planned = queue;
  if (planned->is_empty()) {
    fire(kEmptySelection);
    return;
  }
  const py::Object exporter = options.attr(kSelected);
  // Followed as it stands: whoever clears it ends the export, and what is added is exported.
  const auto each = [&](const auto& use) {
    for (Py_ssize_t next = 0; next < planned->tasks.size(); ++next) use(planned->tasks.at(next));
  };
  const auto write_all = [&] {
    each([&](const py::Object& task) {
      if (!task.call(kIsEmpty).truth()) write(task, exporter, directory);
    });
  };
  writing_ = true;
  py::finally([&] { host.keep_selection(write_all); }, [&] { writing_ = false; });
  std::vector<py::Object> skipped;
  each([&](const py::Object& task) {
    if (!task.call(kIsConfirmed).truth()) skipped.push_back(task.attr(kName));
  });
  fire(skipped.empty() ? kSuccess : kSkipped, skipped);
  const py::Object statistics = api.attr(kStatistics);
  statistics.call(kAdd, py::Ref<ExportRecord>::make());
  statistics.call(kWrite);
}

// One file that cannot be written keeps none of the others from that; its task knows why.
void ExportDriver::write(const py::Object& task, const py::Object& exporter, const py::Object& directory) const {
  static const py::Name kAttr("attr"), kData("data"), kRoots("roots"), kConfirm("confirm"), kPath("path");
  static const py::Name kError("error");
  static const py::Name kAutomaticUv("automatic_uv"), kTriangulate("triangulate"), kResetXforms("reset_xforms");
  try {
    const py::Object type = exporter.attr(kAttr), values = exporter.attr(kData);
    const py::Object file =
        export_path(directory, py::Text(task.attr(kName)), py::Text(type), flags.attr(kVersionControl).truth());
    task.set_attr(kPath, file);
    py::Dict switches;
    for (const py::Name* flag : {&kAutomaticUv, &kTriangulate, &kResetXforms}) switches.set(*flag, flags.attr(*flag));
    host.export_file(task.attr(kRoots), file, type, values, switches);
    task.call(kConfirm);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    failure::log(format("export of {}", {task.attr(kName)}), error);
    task.set_attr(kError, kept(error));
  }
}

void ExportDriver::fire(const py::Name& event, const std::vector<py::Object>& arguments) const {
  api.attr(kCallbacks).attr(event).apply(py::tuple(arguments));
}

void expose_export_driver(const py::Scope& api) {
  py::Class<ExportDriver>(api, "_Export",
                          "Api component to handle export process.\n\n"
                          "Writes hierarchies out of the scene through the host, each into a file of its own.\n\n"
                          "Args:\n"
                          "    options: The exporters, each a `Parameters.Options`.")
      .no_copies("it belongs to an Api")
      .init<&ExportDriver::init>({"api", "operator", "buffer", {"options", nullptr}})
      .operation<&ExportDriver::start>(
          "start",
          "Exports the matched hierarchies, or what is selected, as the mode of the checks says.\n\n"
          "The settings say where to: the user chooses, the directory of the project, or that of the open scene. "
          "Without one that exists, or with one that is no path, `lost_export_directory` is called, and nothing else "
          "happens. See `project`.")
      .operation<&ExportDriver::project>(
          "project", {"directory"},
          "Exports the checked hierarchies of the buffer.\n\n"
          "A hierarchy of which a root is gone is left out. With nothing to export `empty_export_selection` is called "
          "and no more happens. Each hierarchy goes through the host into a file of its own. A failure is logged, "
          "stands "
          "as `error` in its task of the `queue`, and keeps none of the others from being written. In the end "
          "`export_success` is called, or `export_skipped` "
          "with the names of those that were not written, and the statistics have one record more. The selection of "
          "the host stays as it is. The export follows the `queue`: to cancel it, clear the queue, from the host or an "
          "event; it ends after the file under way, and tasks that are added are exported. RuntimeError inside an "
          "export.")
      .operation<&ExportDriver::selected>("selected", {"directory"},
                                          "Exports the roots of the selection, in the same way as `project`.")
      .operation<&ExportDriver::get_directory>(
          "_get_directory",
          "The directory that the settings lead to; a false value if there is none, or the user cancels.\n\n"
          "A chosen one is where the next choice begins; the settings are not written. TypeError for a choice that is "
          "no path.")
      .operation<&ExportDriver::perform>("_perform", {"planner", "directory"},
                                         "Empties the queue, has `planner` fill it, and exports it.")
      .operation<&ExportDriver::plan_project_queue>("_plan_project_queue",
                                                    "Appends a task for each checked hierarchy that is still there.")
      .operation<&ExportDriver::plan_selection_queue>("_plan_selection_queue",
                                                      "Appends a task for each root of the selection.")
      .operation<&ExportDriver::resolve_queue>("_resolve_queue", {"directory"}, "Exports the tasks of the queue.")
      .static_operation<&export_path>(
          "_create_path", {"directory", "filename", "type", {"version_control", false}},
          "The path of an exported file.\n\n"
          "Args:\n"
          "    directory: Where it goes.\n"
          "    filename: Its name without extension.\n"
          "    type: The format, which in lower case is the extension.\n"
          "    version_control: Number the file, one above the files whose names begin like `filename`, taken as a "
          "regular expression, and have the format's extension.\n\n"
          "`re.error` if `filename` is not one, and OSError if the directory cannot be listed.")
      .accessor<&ExportDriver::get_queue>("queue",
                                          "_Export.Queue: The tasks of the last export, with what came of each.")
      .field<&ExportDriver::options>("options", "_Export.Options: The exporters with their options, one selected.")
      .field<&ExportDriver::flags>("flags", "_Export.Flags: The switches of the export.")
      .readonly<&ExportDriver::api>("_api", "Api: What the component belongs to.")
      .readonly<&ExportDriver::host>("_op", "Scene.Operator: The host.")
      .readonly<&ExportDriver::buffer>("_buffer", "Scene._Buffer: The matched hierarchies.")
      .readonly<&ExportDriver::queue>("_queue", "_Export.Queue: The tasks of the last export.")
      .done();
}

}  // namespace heron
