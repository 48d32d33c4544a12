#include "projects/collection.h"

#include "files/access_queue.h"
#include "files/json_file.h"
#include "files/paths.h"
#include "foundation/errors.h"
#include "foundation/failure.h"
#include "foundation/kept_error.h"
#include "foundation/lock.h"
#include "foundation/logger.h"
#include "projects/project_exchange.h"
#include "projects/project_header.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kName("name"), kFilename("filename"), kPath("path"), kEdited("edit_timestamp"), kDeleted("deleted");
const py::Name kTarget("target"), kVersion("version"), kCallbacks("callbacks");

void warn_of(const py::Object& path) { logger::warning(format("Incompatible Project File - {}", {path})); }

/// Nothing may be erased for the sake of an answer that is no list: an empty map, of an error perhaps, holds no project
/// either. It is asked after the entries were taken, since rubbish among them has an error of its own.
void refuse_other_than_list(const py::Object& projects) {
  const bool is_response = py::Ref<ProjectsResponse>::holds(projects);
  const py::Object body = is_response ? py::Ref<ProjectsResponse>(projects)->projects : projects;
  if (PyDict_Check(body.or_none()) || PyBytes_Check(body.or_none()) || body.is_text())
    py::raise_type("a list of projects expected, not " + body.type_name());
}

}  // namespace

void ProjectCollection::init(const py::Object& application, const py::Object& target_application) {
  static const py::Name kLock("Lock"), kEnv("env"), kGetProjectsDirectory("get_projects_directory");
  api = application;
  target = target_application;
  mutex_edit = py::modules::threading.call(kLock);
  directory = paths::plain(api.attr(kEnv).call(kGetProjectsDirectory));
  table = py::Dict();
  errors = py::Dict();
  load();
}

/// The names in the directory, in its own order; none, with a record in the log, if it cannot be read.
std::vector<py::Object> ProjectCollection::file_names() const {
  static const py::Name kListDirectory("listdir");
  try {
    return py::collect(py::modules::os.call(kListDirectory, directory));
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_OSError)) throw;
    logger::caught(error);
    settle(directory, kept(error));
    return {};
  }
}

/// Notes how the last access to a file ended.
void ProjectCollection::settle(const py::Object& path, const py::Object& error) const {
  if (error) {
    errors.set(path, error);
  } else if (errors.find(path)) {
    errors.remove(path);
  }
}

std::vector<py::Object> ProjectCollection::present() const {
  std::vector<py::Object> present;
  for (py::Object& project : table.values()) {
    if (!project.attr(kDeleted).truth()) present.push_back(std::move(project));
  }
  return present;
}

py::List ProjectCollection::names() const {
  py::List names;
  locked(mutex_edit, [&] {
    for (const py::Object& project : present()) names.append(project.attr(kName));
  });
  py::checked(PyList_Sort(names.get()));
  return names;
}

py::List ProjectCollection::headers() const {
  static const py::Name kAttrGetter("attrgetter"), kSort("sort"), kKey("key");
  py::List headers;
  locked(mutex_edit, [&] {
    for (const py::Object& project : present()) headers.append(py::made<ProjectHeader>(project));
  });
  py::Dict by;
  by.set(kKey, py::modules::operators.call(kAttrGetter, py::text(kName.text()), py::text(kEdited.text())));
  headers.attr(kSort).apply(py::tuple({}), by);
  return headers;
}

py::Object ProjectCollection::iterate() const {
  py::List paths;
  locked(mutex_edit, [&] { paths = table.keys(); });
  py::checked(PyList_Sort(paths.get()));
  return py::values_at(table, paths);
}

py::Object ProjectCollection::get(const py::Object& filename) const {
  static const py::Name kIsOutdated("is_outdated");
  py::Object found;
  locked(mutex_edit, [&] {
    for (const py::Object& project : table.values()) {
      if (!project.attr(kFilename).equals(filename)) continue;
      found = project;
      break;
    }
    if (found && found.call(kIsOutdated).truth()) reload(found);
  });
  return found ? found : get_empty();
}

/// Has the project read its file again. If that cannot be used, the project stays untouched: it may have edits of its
/// own, and others hold its records.
void ProjectCollection::reload(const py::Object& project) const {
  static const py::Name kReload("reload");
  const py::Object path = project.attr(kPath),
                   stored = make(path, read_stored_document(path, ProjectSettings::kCorrupted));
  if (stored && is_approved(stored)) {
    project.call(kReload);
  } else {
    warn_of(path);
  }
}

py::Object ProjectCollection::get_file(const py::Object& name) const {
  py::Object path = py::Object::none();
  locked(mutex_edit, [&] {
    for (const py::Object& project : table.values()) {
      if (!project.attr(kName).equals(name)) continue;
      path = project.attr(kPath);
      break;
    }
  });
  return path;
}

py::Ref<ProjectSettings> ProjectCollection::get_empty() const {
  py::Dict data;
  data.set(kVersion, py::to_python(ProjectSettings::kVersion));
  data.set(kTarget, target);
  return py::made<ProjectSettings>(self(), directory, py::text(""), data);
}

bool ProjectCollection::is_approved(const py::Object& project) const {
  if (!py::Ref<ProjectSettings>::holds(project)) return false;
  return project.attr(kTarget).equals(target) && !project.attr(kVersion).is_less(py::to_python(0));
}

py::Object ProjectCollection::create_http_request() const {
  py::List documents;
  locked(mutex_edit, [&] {
    for (const py::Object& project : table.values()) documents.append(ProjectSettings::document(project));
  });
  return py::made<ProjectsRequest>(target, documents);
}

void ProjectCollection::accept_http_response(const py::Object& projects) const {
  if (py::Ref<ProjectsResponse>::holds(projects) && !py::Ref<ProjectsResponse>(projects)->accepted) {
    logger::warning(py::text("Projects Response Was Not Accepted"));
    return;
  }
  const py::Set kept;
  for (const py::Object& contents : py::collect(projects)) {
    if (const py::Object path = accept(contents)) kept.add(path);
  }
  refuse_other_than_list(projects);
  erase_all_but(kept);
  logger::debug(py::text("Projects Synchronized"));
}

/// Takes one project of the server's. Returns the path whose project stays, or none.
py::Object ProjectCollection::accept(const py::Object& contents) const {
  const py::Object filename = py::get(contents, kFilename, py::text(""));
  py::Object project;
  try {
    project = py::made<ProjectSettings>(self(), directory, filename, contents);
  } catch (const py::Error& error) {
    // Ours may be sound. Without its name there is no telling which it is, and then none may be erased.
    if (!error.is_failure() || !ProjectSettings::is_file_name(filename)) throw;
    logger::caught(error);
    py::Object path = paths::join(directory, filename);
    settle(path, kept(error));
    return path;
  }
  if (!is_approved(project)) return {};
  const bool is_refused = filename.truth() && !project.attr(kFilename).truth();
  return is_refused ? py::Object() : take(project);  // a refused one would make one more file each time
}

/// Writes a project of the server's if it is newer than ours. Returns its path. A file that was passed over when it was
/// to be loaded may hold more than the server's copy: it gets another try, and is moved aside before it is replaced.
py::Object ProjectCollection::take(const py::Object& project) const {
  const py::Object filename = project.attr(kFilename), path = project.attr(kPath);
  py::Object current = get(filename);
  const auto is_passed_over = [&] { return !current.attr(kFilename).equals(filename) && paths::exist(path); };
  if (is_passed_over()) {
    locked(mutex_edit, [&] { load_file(path); });
    current = get(filename);
  }
  const bool is_newer = current.attr(kEdited).is_less(project.attr(kEdited));
  if (is_newer && (!is_passed_over() || make_room(path))) save(project);
  return path;
}

/// Moves a file that cannot be used aside for a project of the server's. False, with a record in the log, if it stays,
/// as one does that another only kept for too long.
bool ProjectCollection::make_room(const py::Object& path) const {
  warn_of(path);
  if (const auto failure = errors.find(path);
      failure && py::is_instance<heron::errors::AccessQueueTimeout>(failure->get())) {
    return false;
  }
  try {
    json_file::set_aside(path);
    return true;
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    settle(path, kept(error));
    return false;
  }
}

void ProjectCollection::erase_all_but(const py::Set& kept) const {
  locked(mutex_edit, [&] {
    for (const auto& [path, project] : table.items()) {
      if (!kept.contains(to_str(path))) erase(path);
    }
  });
}

void ProjectCollection::load() const {
  locked(mutex_edit, [&] {
    table.clear();
    errors.clear();
    std::vector<py::Object> files;
    for (const py::Object& name : file_names()) {
      if (ProjectSettings::is_file_name(name)) files.push_back(paths::join(directory, name));
    }
    const std::vector<StoredDocument> read = read_stored_documents(files, ProjectSettings::kCorrupted);
    for (std::size_t i = 0; i < files.size(); ++i) take_up(files[i], read[i]);
  });
}

void ProjectCollection::load_file(const py::Object& json_path) const {
  const py::Object path = paths::plain(json_path);
  take_up(path, read_stored_document(path, ProjectSettings::kCorrupted));
}

// A project that cannot be built must not keep the others from loading. Its file stays.
void ProjectCollection::take_up(const py::Object& path, const StoredDocument& read) const {
  const py::Object project = make(path, read);
  if (!project) {
    warn_of(path);
  } else if (is_approved(project)) {
    table.set(project.attr(kPath), project);
  }
}

/// The project of a file, be it approved or not; none, with a record in the log, if it cannot be built.
py::Object ProjectCollection::make(const py::Object& json_path, const StoredDocument& read) const {
  try {
    py::Object project = ProjectSettings::make(py::type_of<ProjectSettings>(), self(), json_path, read);
    settle(json_path, py::Ref<ProjectSettings>(project)->read_error);
    return project;
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    failure::note(error.value(), format("in the project {}", {json_path}));
    failure::log(py::text("read"), error);
    settle(json_path, kept(error));
    return {};
  }
}

void ProjectCollection::save(const py::Object& project) const {
  static const py::Name kWrite("write"), kProjectsSaved("projects_saved");
  locked(mutex_edit, [&] {
    project.call(kWrite);
    const py::Object path = project.attr(kPath);
    table.set(path, project);
    if (py::Ref<ProjectSettings>::holds(project)) settle(path, py::Ref<ProjectSettings>(project)->write_error);
  });
  api.attr(kCallbacks).call(kProjectsSaved);
}

void ProjectCollection::erase(const py::Object& json_path) const {
  const py::Object path = paths::plain(json_path);
  table.remove(path);
  try {
    with_document(path, false, [&](const py::Object&) {
      paths::remove(path);
      remove_kept_copy(path);
    });
    settle(path, {});
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    settle(path, kept(error));
  }
}

void expose_project_collection(const py::Scope& project) {
  using Collection = ProjectCollection;
  const py::Scope scope =
      py::Class<Collection>(
          project, "Collection",
          "All projects of one target application, as the projects directory has them.\n\n"
          "Args:\n"
          "    api: Gives `env`, whose projects directory is read at once, and `callbacks`.\n"
          "    target: One of `Constants.Plugin.Target`.\n\n"
          "Files of other targets, those without a version, and those that cannot be read are passed over, the last "
          "with a record in the log, and stay. So is a file whose name does not mean itself as a regular expression, "
          "such as \"street (1).json\": no access can be had to it, after a wait of 30 seconds. A directory that "
          "cannot be read is logged and counts as empty. All operations may be called from any thread. A loop gives "
          "the projects in the order of their paths.")
          .no_copies("it stands for a directory of files")
          .init<&Collection::init>({"api", "target"})
          .accessor<&Collection::names>(
              "names", "list[str]: A new sorted list of the names of all projects that are not deleted.")
          .accessor<&Collection::headers>("headers",
                                          "list[_Project.Header]: A new list of those that are not deleted, sorted by "
                                          "name and time of the last edit.")
          .iterate<&Collection::iterate>()
          .accessor<&Collection::get_errors>(
              "errors",
              "dict[str, Exception]: Why files could not be used, written or erased, by their paths; a new dict.\n\n"
              "A directory that cannot be read is among them. An entry goes with the next access that succeeds.")
          .operation<&Collection::get>(
              "get", {"filename"},
              "The project of this file name; a new one, as of `get_empty`, if there is none.\n\n"
              "It is read again if its file has grown. If that file cannot be used, it stays what it was, and a "
              "warning is logged.")
          .operation<&Collection::save_project>(
              "save_project", {"settings"},
              "Writes a project, makes it part of the collection, and reports `projects_saved`.")
          .operation<&Collection::is_approved>(
              "is_approved", {"settings"},
              "Whether it is a project of this target that has a version, be it of another format.")
          .operation<&Collection::get_file>(
              "get_file", {"name"}, "The path of the first project of this name, deleted ones included, or None.")
          .operation<&Collection::get_empty>("get_empty", "A new project of this target, not part of the collection.")
          .operation<&Collection::create_http_request>("create_http_request",
                                                       "An `HttpRequest` of all projects, deleted ones included.")
          .operation<&Collection::accept_http_response>(
              "accept_http_response", {"projects"},
              "Puts the server's projects in the place of these.\n\n"
              "Args:\n"
              "    projects: The documents, in practice an `HttpResponse`; one that was not accepted changes nothing, "
              "and is logged.\n\n"
              "Projects that are newer than here, or unknown here, are written. All that are not among them are "
              "erased, files included, those of another target or without a version too. A document of which no "
              "project can be made is logged, and a project of its file name stays what it was. One whose file name "
              "cannot be that of a project is logged and passed over. A file that is here but cannot be taken up is "
              "tried again; if it still cannot, it is moved into \".corrupted\" before a project takes its place.\n\n"
              "AttributeError for a document that is no mapping, TypeError for anything but a list, the error of the "
              "records for a document without a usable file name of which no project can be made; nothing is erased "
              "then.")
          .operation<&Collection::load>("_load", "Reads all projects of the directory anew.")
          .operation<&Collection::load_file>(
              "_load_file", {"json_path"},
              "Reads a project and takes it up if it is approved. A file that cannot be used is logged, and stays.")
          .operation<&Collection::save>("_save_project", {"settings"}, "The same as `save_project`.")
          .operation<&Collection::erase>(
              "_erase_project", {"path"},
              "Drops a project and its file, with the lock held. A failure is logged, and the file stays.")
          .readonly<&Collection::api>("_api", "Any: The application.")
          .field<&Collection::target>("target", "str: The target application.")
          .field<&Collection::directory>("directory", "str: The projects directory.")
          .readonly<&Collection::table>("_table", "dict[str, _Project.Settings]: The projects by their paths.")
          .readonly<&Collection::mutex_edit>("_mutex_edit", "Any: Guards `_table`.")
          .done();
  expose_project_exchange(scope);
}

}  // namespace heron
