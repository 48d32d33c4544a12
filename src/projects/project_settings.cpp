#include "projects/project_settings.h"

#include "files/access_queue.h"
#include "files/json_file.h"
#include "files/paths.h"
#include "foundation/clock.h"
#include "foundation/logger.h"
#include "foundation/stamp.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kName("name"), kDescription("description"), kRecords("records"), kSelected("selected_record");
const py::Name kDeleted("deleted"), kVersionKey("version"), kFilename("filename"), kTarget("target");
const py::Name kEditTimestamp("edit_timestamp");

py::Object size_of(const py::Object& path) {
  static const py::Name kGetSize("getsize");
  return py::modules::path.call(kGetSize, path);
}

void replace_text(py::Object& text, const py::Object& value) {
  if (value.is_text()) text = to_str(value);
}

}  // namespace

py::Ref<ProjectSettings> ProjectSettings::create(const py::Object& collection, const py::Object& directory,
                                                 const py::Object& filename, const py::Object& file_data) {
  auto project = py::Ref<ProjectSettings>::make();
  project->init(collection, directory, filename, file_data);
  return project;
}

py::Object ProjectSettings::read(const py::Object& type, const py::Object& collection, const py::Object& json_path) {
  const py::Object document = open(json_path);
  return type(collection, paths::directory(json_path), paths::file_name(json_path), document);
}

py::Object ProjectSettings::open(const py::Object& path) {
  py::Object document;
  try {
    with_document(path, false, [&](const py::Object& read) { document = read; });
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    if (error.matches(PyExc_ValueError)) {
      logger::error(format("Read Corrupted Project: {}", {path}));
      json_file::move_corrupted(path);
    } else {
      logger::caught(error);
    }
    return py::Dict();
  }
  if (PyDict_Check(document.or_none()) != 0) return document;
  logger::warning(py::text("Incompatible Project File"));
  return py::Dict();
}

void ProjectSettings::init(const py::Object& related_collection, const py::Object& project_directory,
                           const py::Object& file, const py::Object& file_data) {
  collection = related_collection;
  directory = to_str(project_directory);
  filename = to_str(file);
  history = py::Ref<History>::make();
  history->init(py::Ref<ProjectSettings>::of(*this));
  apply(file_data);
  const py::Object joined = paths::join(directory, filename);
  written_size = joined.truth() && paths::exist(joined) ? size_of(joined) : py::to_python(0.0);
}

// What the document says of its own name wins over the name under which it was found.
void ProjectSettings::apply(const py::Object& file_data) {
  const py::Object nothing = py::text("");
  name = to_str(py::get(file_data, kName, nothing));
  description = to_str(py::get(file_data, kDescription, nothing));
  py::Ref<History>(history)->load(file_data);
  edit_timestamp = py::get(file_data, kEditTimestamp, py::to_python(0.0));
  deleted = py::get(file_data, kDeleted, py::to_python(false));
  object_of(*this).set_attr(kVersionKey, py::get(file_data, kVersionKey, py::to_python(-1)));
  filename = to_str(py::get(file_data, kFilename, nothing));
  target = to_str(py::get(file_data, kTarget, nothing));
}

bool ProjectSettings::equals(const py::Object& other) const {
  return py::Ref<ProjectSettings>::holds(other) && data().equals(py::Ref<ProjectSettings>(other)->data());
}

void ProjectSettings::set_name(const py::Object& text) { replace_text(name, text); }
void ProjectSettings::set_description(const py::Object& text) { replace_text(description, text); }

py::Object ProjectSettings::path() {
  ensure_filename();
  return paths::join(directory, filename);
}

py::Object ProjectSettings::version() const { return object_of(*this).attr(kVersionKey); }

bool ProjectSettings::is_compatible() const { return version().equals(py::to_python(kVersion)); }

py::Dict ProjectSettings::data() const {
  py::Dict data;
  data.set(kName, naming::space_filter(py::Text(name)));
  data.set(kDescription, description);
  data.set(kRecords, history->data());
  data.set(kSelected, history->get_pointer());
  data.set(kDeleted, deleted);
  data.set(kVersionKey, version());
  data.set(kFilename, filename);
  data.set(kTarget, target);
  return data;
}

// A part of the name that says what it is, and a code that tells it from others of the name.
void ProjectSettings::ensure_filename() {
  constexpr Py_ssize_t kDigits = 8;
  if (filename.truth() || !name.truth()) return;
  const py::Object readable = naming::space_filter(py::Text(naming::force_ascii(py::Text(name))));
  const py::Object code = py::Object::steal(PyUnicode_Substring(fresh_stamp().get(), 0, kDigits));
  const py::Object stem = readable.truth() ? format("{}_{}", {readable, code}) : code;
  filename = to_str(format("{}.json", {stem}));
}

py::Ref<Record> ProjectSettings::get_record_promise() const {
  py::Ref<Record> promise = history->get_record();
  promise->clear_author();
  promise->clear_comment();
  promise->clear_timestamp();
  return promise;
}

py::Ref<ProjectSettings> ProjectSettings::clone() const { return create(collection, directory, filename, data()); }

void ProjectSettings::save() {
  static const py::Name kSaveProject("save_project");
  mark_edited();
  collection.call(kSaveProject, py::Ref<ProjectSettings>::of(*this));
}

void ProjectSettings::mark_edited() { edit_timestamp = clock::now(); }

void ProjectSettings::reload() {
  const py::Object file = path();
  if (paths::exist(file)) apply(open(file));
}

void ProjectSettings::write() {
  static const py::Name kClear("clear"), kUpdate("update");
  try {
    const py::Object file = path();
    const py::Dict document = data();
    document.set(kEditTimestamp, edit_timestamp);
    with_document(file, true, [&](const py::Object& stored) {
      stored.call(kClear);
      stored.call(kUpdate, document);
    });
    written_size = size_of(file);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
  }
}

bool ProjectSettings::is_outdated() {
  const py::Object file = path();
  if (!paths::exist(file)) return false;
  return py::checked(PyObject_RichCompareBool(written_size.get(), size_of(file).get(), Py_LT)) != 0;
}
