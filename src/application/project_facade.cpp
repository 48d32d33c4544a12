#include "application/project_facade.h"

#include "foundation/constants.h"
#include "foundation/logger.h"
#include "foundation/text.h"

namespace heron {
namespace {

const py::Name kSettings("settings"), kWorkspace("workspace"), kProject("project"), kExport("export");
const py::Name kFilename("filename"), kEditTimestamp("edit_timestamp"), kCompatible("compatible"), kName("name");
const py::Name kLoad("load"), kWrite("write"), kOptions("options"), kFlags("flags");

bool is_compatible(const py::Object& project) { return project.attr(kCompatible).truth(); }

}  // namespace

bool LoadPointer::other(const py::Object& settings) const { return !filename.equals(settings.attr(kFilename)); }

bool LoadPointer::edited(const py::Object& settings) const { return !timestamp.equals(settings.attr(kEditTimestamp)); }

void LoadPointer::set(const py::Object& settings) {
  filename = settings.attr(kFilename);
  timestamp = settings.attr(kEditTimestamp);
}

void ProjectFacade::init(const py::Object& api_, const py::RefOrNone<Hierarchy>& hierarchy_) {
  static const py::Name kEnv("env"), kTarget("target");
  api = api_;
  hierarchy = hierarchy_;
  collection = py::made<ProjectCollection>(api, api.attr(kEnv).attr(kTarget));
  pointer = py::Ref<LoadPointer>::make();
}

py::Object ProjectFacade::get_current() const {
  const py::Object stored = api.attr(kSettings).attr(kWorkspace).attr(kProject);
  if (is_exists(stored)) {
    py::Object project = collection->get(stored);
    if (is_compatible(project)) return project;
  }
  for (const py::Object& header : py::collect(get_headers())) {
    if (!is_compatible(header)) continue;
    const py::Object filename = header.attr(kFilename);
    load(filename);
    return collection->get(filename);
  }
  return get_empty();
}

py::Object ProjectFacade::get_clone() const {
  static const py::Name kClone("clone"), kClearName("clear_name"), kClearFilename("clear_filename");
  py::Object clone = get_current().call(kClone);
  clone.call(kClearName);
  clone.call(kClearFilename);
  return clone;
}

// The document stays and says that the project is deleted: so the server hears of it.
void ProjectFacade::delete_current() const {
  static const py::Name kDeleted("deleted"), kMarkEdited("mark_edited");
  const py::Object project = get_current();
  project.set_attr(kDeleted, py::to_python(true));
  project.call(kMarkEdited);
  project.call(kWrite);
  const std::vector<py::Object> headers = py::collect(get_headers());
  if (!headers.empty()) load(headers.front().attr(kFilename));
}

py::Object ProjectFacade::get_empty() const { return collection->get_empty(); }

py::Object ProjectFacade::get_headers() const { return collection->headers(); }

bool ProjectFacade::is_active() const {
  static const py::Name kCheck("check"), kMode("mode");
  return api.attr(kSettings).attr(kCheck).attr(kMode).equals(constants::number(CheckMode::kProject));
}

bool ProjectFacade::is_exists(const py::Object& filename) const {
  for (const py::Object& header : py::collect(get_headers())) {
    if (header.attr(kFilename).equals(filename)) return true;
  }
  return false;
}

void ProjectFacade::load(const py::Object& filename) const {
  const std::vector<py::Object> headers = py::collect(get_headers());
  const bool stand_in = !headers.empty() && !is_exists(filename);
  load_settings(collection->get(stand_in ? headers.front().attr(kFilename) : filename));
}

void ProjectFacade::load_settings(const py::Object& project) const {
  static const py::Name kHistory("history"), kGetRecord("get_record"), kData("data");
  static const py::Name kGetOptions("get_options");
  if (!is_compatible(project) || pointer->same(project)) return;
  const py::Object record = project.attr(kHistory).call(kGetRecord);
  hierarchy->pattern->set(record);
  const py::Object stored = record.attr(kExport), exporting = api.attr(kExport);
  const py::Object options = stored.call(kGetOptions), flags = stored.attr(kFlags).attr(kData);
  exporting.attr(kOptions).call(kLoad, options);
  exporting.attr(kFlags).call(kLoad, flags);
  if (pointer->other(project)) {
    const py::Object settings = api.attr(kSettings);
    settings.attr(kWorkspace).set_attr(kProject, project.attr(kFilename));
    settings.call(kWrite);
  }
  pointer->set(project);
  logger::info(format("Load \"{}\" project", {project.attr(kName)}));
}

void expose_project_facade(const py::Scope& api) {
  const py::Scope scope =
      py::Class<ProjectFacade>(api, "_Project",
                               "Api component to manage projects.\n\n"
                               "Knows which project is current, and puts what it says into the engine: the pattern, "
                               "and the options and flags of the export. A project of another format, or an unknown "
                               "one, is no error: another one stands in for it.")
          .no_copies("it belongs to an Api")
          .init<&ProjectFacade::init>({"api", "hierarchy"})
          .operation<&ProjectFacade::get_current>(
              "get_current",
              "The current project.\n\n"
              "It is the one that the settings name; without a usable one the first usable project, which is loaded "
              "and becomes the current one in the settings; without any a new, empty one.")
          .operation<&ProjectFacade::get_clone>(
              "get_clone", "A copy of the current project without name and file, to be edited as a new one.")
          .operation<&ProjectFacade::delete_current>(
              "delete_current",
              "Marks the current project as deleted, and loads the first of the others, as `load` does.\n\n"
              "Its file stays, so that the server hears of it. Without another project the engine keeps the pattern.")
          .operation<&ProjectFacade::get_empty>("get_empty", "A new project without a file.")
          .operation<&ProjectFacade::get_headers>("get_headers", "A new list of a `_Project.Header` for each project.")
          .operation<&ProjectFacade::is_active>("is_active",
                                                "Whether validations follow the project, not the selection.")
          .operation<&ProjectFacade::is_exists>("is_exists", {"filename"},
                                                "Whether there is a project with this file name.")
          .operation<&ProjectFacade::load>("load", {"filename"},
                                           "Loads a project; the first one if there is none of this file name.\n\n"
                                           "The same state of the same project is not loaded twice in a row, and one "
                                           "of another format is not loaded at all: what was there before stays.")
          .operation<&ProjectFacade::load_settings>(
              "_load", {"project_settings"},
              "Puts a project into the engine, unless it is of another format or there already.\n\n"
              "The settings are written when it is another project than before.")
          .field<&ProjectFacade::collection>("collection", "_Project.Collection: All projects of the host.")
          .readonly<&ProjectFacade::api>("_api", "Api: What the component belongs to.")
          .readonly<&ProjectFacade::hierarchy>("_hierarchy",
                                               "_Hierarchy: The matcher, whose pattern is that of the project.")
          .readonly<&ProjectFacade::pointer>("_pointer", "Api._Project._LoadPointer: What is loaded now.")
          .done();

  py::Class<LoadPointer>(scope, "_LoadPointer", "Which state of which project was loaded last.")
      .copies()
      .init<&LoadPointer::init>({})
      .operation<&LoadPointer::same>("same", {"settings"}, "Whether it is this project, as it was last edited.")
      .operation<&LoadPointer::other>("other", {"settings"}, "Whether it is another project.")
      .operation<&LoadPointer::edited>("edited", {"settings"}, "Whether it was edited at another time.")
      .operation<&LoadPointer::set>("set", {"settings"}, "Remembers this project as it was last edited.")
      .field<&LoadPointer::filename>("filename", "str | None: The file name of the project; None at first.")
      .field<&LoadPointer::timestamp>("timestamp", "float | None: When it was last edited; None at first.")
      .done();
}

}  // namespace heron
