#pragma once

#include "files/stored_document.h"
#include "projects/history.h"

namespace heron {

/// One project: a named document with the history of its records, one JSON file in the projects directory.
class ProjectSettings {
 public:
  static constexpr int kVersion = 3;  ///< Of the format.

  static constexpr std::string_view kCorrupted = "Read Corrupted Project: {}";  ///< What the log is told of one.

  /// The project of a file; without a version if the file cannot be used.
  static py::Object read(const py::Object& type, const py::Object& collection, const py::Object& json_path);
  /// The same, of what was read.
  static py::Object make(const py::Object& type, const py::Object& collection, const py::Object& json_path,
                         const StoredDocument& read);
  /// What can be used of it: the last whole state in place of a corrupted file, an empty map in place of another.
  static StoredDocument usable(const py::Object& path, const StoredDocument& read);
  static py::Object open_only(const py::Object& path);
  static bool is_file_name(const py::Object& name);  ///< A bare name whose extension is ".json".

  void init(const py::Object& related_collection, const py::Object& project_directory, const py::Object& file,
            const py::Object& file_data);
  void apply(const py::Object& file_data);

  bool equals(const py::Object& other) const;
  py::Object iterate() const { return history.iterate(); }

  py::Object get_directory() const { return directory; }
  py::Object get_filename() const { return filename; }
  py::Object get_name() const { return name; }
  py::Object get_description() const { return description; }
  py::Object get_target() const { return target; }
  py::Object get_history() const { return history; }
  void set_name(const py::Object& text);
  void set_description(const py::Object& text);
  py::Object path();  ///< Gives the project its file name if it has none yet.
  bool is_compatible() const;
  py::Object version() const;                           ///< Of the document that was read.
  py::Dict data() const;                                ///< The JSON form, without the time of the last edit.
  static py::Dict document(const py::Object& project);  ///< What is written and sent: the same with that time.

  void ensure_filename();
  void remove() { deleted = py::to_python(true); }
  py::Ref<Record> get_record_promise() const;
  py::Ref<ProjectSettings> clone() const;
  py::Object deep_copy(const py::Object& memo) const;  ///< In the same collection.
  void clear_name() { name = to_str(py::text("")); }
  void clear_filename() { filename = to_str(py::text("")); }
  void save();
  void mark_edited();
  void reload();
  void write();
  bool is_outdated();

  py::Object collection, directory, filename, name, description, target;
  py::Ref<History> history = py::Ref<History>::make();
  py::Object edit_timestamp, deleted;
  py::Object ignored = py::tuple({});  ///< Keys of the values in the document that could not be used.
  py::Object read_error, write_error;  ///< Of the last of each; none where it went well.
  py::Object written_size;             ///< Of the file, in bytes, when this object last read or wrote it.

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&collection, &directory, &filename, &name, &description, &target, &edit_timestamp,
                              &deleted, &written_size, &ignored, &read_error, &write_error}) {
      visit(*field);
    }
    visit(history);
  }
};

/// Puts `Settings` into `_Project`. Returns its scope, for what nests in it.
py::Scope expose_project_settings(const py::Scope& project);

}  // namespace heron
