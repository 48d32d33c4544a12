#include "projects/project_settings.h"

#include "files/paths.h"
#include "foundation/clock.h"
#include "foundation/failure.h"
#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "foundation/stamp.h"
#include "runtime/modules.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kName("name"), kDescription("description"), kRecords("records"), kSelected("selected_record");
const py::Name kDeleted("deleted"), kVersionKey("version"), kFilename("filename"), kTarget("target");
const py::Name kEditTimestamp("edit_timestamp");

py::Object size_of(const py::Object& path) {
  static const py::Name kGetSize("getsize");
  return py::modules::path.call(kGetSize, path);
}

/// The same; none where there is no file, or no more.
py::Object size_if_any(const py::Object& path) {
  if (!paths::exist(path)) return {};
  try {
    return size_of(path);
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_FileNotFoundError)) throw;
    return {};
  }
}

/// A file name of a document. Any but that of a project would have another file replaced, or deleted.
py::Object filename_at(const py::Object& document) {
  py::Object name = document::text_at(document, kFilename);
  if (!name.truth() || ProjectSettings::is_file_name(name)) return name;
  document::warn(kFilename);
  return to_str(py::text(""));
}

void replace_text(py::Object& text, const py::Object& value) {
  if (value.is_text()) text = to_str(value);
}

}  // namespace

py::Object ProjectSettings::read(const py::Object& type, const py::Object& collection, const py::Object& json_path) {
  return make(type, collection, json_path, read_stored_document(json_path, kCorrupted));
}

py::Object ProjectSettings::make(const py::Object& type, const py::Object& collection, const py::Object& json_path,
                                 const StoredDocument& read) {
  const auto [document, failure] = usable(json_path, read);
  py::Object project = type(collection, paths::directory(json_path), paths::file_name(json_path), document);
  if (py::Ref<ProjectSettings>::holds(project)) py::Ref<ProjectSettings>(project)->read_error = failure;
  return project;
}

py::Object ProjectSettings::open_only(const py::Object& path) {
  return usable(path, read_stored_document(path, kCorrupted)).document;
}

StoredDocument ProjectSettings::usable(const py::Object& path, const StoredDocument& read) {
  auto [document, failure] = read;
  const bool is_corrupted = failure && PyErr_GivenExceptionMatches(failure.get(), PyExc_ValueError) != 0;
  if (is_corrupted) document = restore_stored_document(path);
  if (is_corrupted && document) {
    logger::warning(format("Restored Corrupted Project: {}", {path}));
    const std::string_view reason = "the file was corrupted, and its last whole state is used: {}";
    failure = kept(PyExc_ValueError, format(reason, {printable(failure)}));
  }
  if (!document) return {py::Dict(), failure};
  if (PyDict_Check(document.get()) != 0) return {document, failure};
  logger::warning(py::text("Incompatible Project File"));
  return {py::Dict(), kept(PyExc_TypeError, py::text("the document is not a mapping"))};
}

bool ProjectSettings::is_file_name(const py::Object& name) {
  static const py::Name kSplitExtension("splitext");
  if (!name.is_text() || !name.equals(paths::file_name(name))) return false;
  return py::collect(py::modules::path.call(kSplitExtension, name)).at(1).equals(py::text(".json"));
}

// Without a file name the path is that of the directory, and the size is its size.
void ProjectSettings::init(const py::Object& related_collection, const py::Object& project_directory,
                           const py::Object& file, const py::Object& file_data) {
  collection = related_collection;
  directory = to_str(paths::plain(project_directory));
  filename = to_str(file);
  history = py::Ref<History>::make();
  history->init(py::Ref<ProjectSettings>::of(*this));
  apply(file_data);
  const py::Object size = size_if_any(paths::join(directory, filename));
  written_size = size ? size : py::to_python(0.0);
}

// The history first: it refuses what cannot be used, and then the project is what it was. What the document says of
// its own name wins over the name under which it was found.
void ProjectSettings::apply(const py::Object& file_data) {
  const document::Ignored applying(filename.truth() ? paths::join(directory, filename) : py::Object());
  history->load(file_data);
  name = document::text_at(file_data, kName);
  description = document::text_at(file_data, kDescription);
  edit_timestamp = document::number_at(file_data, kEditTimestamp, py::to_python(0.0));
  deleted = py::to_python(document::truth_at(file_data, kDeleted));
  py::object_of(*this).set_attr(kVersionKey, document::number_at(file_data, kVersionKey, py::to_python(-1)));
  filename = filename_at(file_data);
  target = document::text_at(file_data, kTarget);
  ignored = applying.keys();
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

py::Object ProjectSettings::version() const { return py::object_of(*this).attr(kVersionKey); }

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

py::Dict ProjectSettings::document(const py::Object& project) {
  static const py::Name kData("data");
  py::Dict document(project.attr(kData));
  document.set(kEditTimestamp, project.attr(kEditTimestamp));
  return document;
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

py::Ref<ProjectSettings> ProjectSettings::clone() const {
  return py::made<ProjectSettings>(collection, directory, filename, data());
}

py::Object ProjectSettings::deep_copy(const py::Object& memo) const {
  return py::deep_copy(py::object_of(*this), memo, {collection});
}

void ProjectSettings::save() {
  static const py::Name kSaveProject("save_project");
  mark_edited();
  collection.call(kSaveProject, py::Ref<ProjectSettings>::of(*this));
}

void ProjectSettings::mark_edited() { edit_timestamp = clock::now(); }

void ProjectSettings::reload() {
  const py::Object file = path();
  if (!paths::exist(file)) return;
  const auto [document, failure] = usable(file, read_stored_document(file, kCorrupted));
  read_error = failure;
  apply(document);
}

void ProjectSettings::write() {
  write_error = py::Object();
  py::Object file;
  try {
    file = path();
    replace_stored_document(file, document(py::Ref<ProjectSettings>::of(*this)), Copy::kKept);
    written_size = size_of(file);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    failure::note(error.value(), format("in the project {}", {file ? file : name}));
    failure::log(py::text("write"), error);
    write_error = kept(error);
  }
}

bool ProjectSettings::is_outdated() {
  const py::Object size = size_if_any(path());
  return size && written_size.is_less(size);
}

py::Scope expose_project_settings(const py::Scope& project) {
  using Project = ProjectSettings;
  const py::Scope scope =
      py::Class<Project>(
          project, "Settings",
          "One project: a named document with the history of its records.\n\n"
          "Args:\n"
          "    related_collection: What it belongs to.\n"
          "    directory, filename: Where its file is; the document's own \"filename\" wins.\n"
          "    file_data: The document, of which every key may be missing.\n\n"
          "Equal projects have equal data, whenever they were edited. `version` is that of the format: of this release "
          "in the class, of the document in an instance. A loop gives the records, newest first.")
          .copies()
          .init<&Project::init>({"related_collection", "directory", "filename", "file_data"})
          .attribute("version", py::to_python(Project::kVersion))
          .class_operation<&Project::read>("init", {"parent", "json_path"},
                                           "The project of a file. One that cannot be used gives a project without a "
                                           "version, whose `read_error` says why, and a record in the log.")
          .static_operation<&RuleList::predefined>("predefined_rules", {}, "The rules that a new project offers.")
          .static_operation<&Project::open_only>(
              "_open", {"path"},
              "The document of a file; an empty dict, with a record in the log, where it "
              "cannot be used. A corrupted file is moved into \".corrupted\", and its last whole state, which stands "
              "in "
              "\".backup\", is put into its place and used, with a warning.")
          .equals<&Project::equals>()
          .iterate<&Project::iterate>()
          .accessor<&Project::get_directory>("directory", "str: The directory of the file.")
          .accessor<&Project::get_filename>("filename", "str: The name of the file; empty until `path` was read.")
          .accessor<&Project::get_name, &Project::set_name>("name",
                                                            "str: The name. Writing anything but text changes nothing.")
          .accessor<&Project::get_description, &Project::set_description>(
              "description", "str: What the project is for. Writing anything but text changes nothing.")
          .accessor<&Project::get_target>("target", "str: The host application, one of `Constants.Plugin.Target`.")
          .accessor<&Project::get_history>("history", "_Project.Settings.Record.History: The saved records.")
          .accessor<&Project::path>("path",
                                    "str: The path of the file; gives the project a file name if it has a name but "
                                    "none yet. Without a name it is the directory itself.")
          .accessor<&Project::is_compatible>("compatible",
                                             "bool: Whether the document is of the format of this release.")
          .operation<&Project::apply>(
              "apply", {"file_data"},
              "Takes all content from a document.\n\n"
              "Records that cannot be used are refused as by `History.load`, and nothing has "
              "changed then. Any other value of the wrong kind counts as absent, with a "
              "warning, and `ignored` names it; so does a file name that leads elsewhere or does not end in \".json\".")
          .operation<&Project::ensure_filename>("_ensure_filename", "Makes a file name of the name, if there is none.")
          .operation<&Project::remove>("delete", "Marks the project as deleted; `mark_edited` and `write` follow.")
          .operation<&Project::get_record_promise>("get_record_promise",
                                                   "A copy of the present state, from which the next record begins.")
          .operation<&Project::clone>("clone", "A new project of the same content, as if it was never edited.")
          .operation<&Project::deep_copy>("__deepcopy__", {"memo"},
                                          "A deep copy, which belongs to the same collection.")
          .operation<&Project::clear_name>("clear_name", "Empties the name.")
          .operation<&Project::clear_filename>("clear_filename", "Has `path` make a file name anew.")
          .operation<&Project::save>("save", "Marks the project as edited and has the collection write it.")
          .operation<&Project::mark_edited>("mark_edited", "Notes the present time as that of the last edit.")
          .operation<&Project::reload>("reload", "Takes all content from the file, if it exists.")
          .operation<&Project::write>("write",
                                      "Writes the file.\n\n"
                                      "A failure is logged, and `write_error` keeps it; the file stays as it was.")
          .operation<&Project::is_outdated>("is_outdated",
                                            "Whether the file is larger than when this object last read or wrote it.")
          .accessor<&Project::data>("data",
                                    "dict[str, Any]: The JSON form, a new dict, without the time of the last edit.")
          .field<&Project::edit_timestamp>("edit_timestamp",
                                           "float: When it was last edited, in seconds since the epoch.")
          .readonly<&Project::read_error>("read_error",
                                          "Exception | None: Why the file could not be used by `init` or `reload`.")
          .readonly<&Project::write_error>("write_error", "Exception | None: Why the last `write` failed.")
          .readonly<&Project::ignored>(
              "ignored", "tuple[str, ...]: The keys of the values in the document that could not be used.")
          .field<&Project::deleted>("deleted",
                                    "bool: Whether it is deleted, though its file stays until the server knows.")
          .readonly<&Project::collection>("_collection", "Any: What it belongs to.")
          .readonly<&Project::directory>("_directory", "str: The stored `directory`.")
          .readonly<&Project::filename>("_filename", "str: The stored `filename`.")
          .readonly<&Project::name>("_name", "str: The stored `name`.")
          .readonly<&Project::description>("_description", "str: The stored `description`.")
          .readonly<&Project::target>("_target", "str: The stored `target`.")
          .readonly<&Project::history>("_history", "_Project.Settings.Record.History: The stored `history`.")
          .readonly<&Project::written_size>(
              "_write_timestamp", "float: The size of the file in bytes when this object last read or wrote it.")
          .done();
  return scope;
}

}  // namespace heron
