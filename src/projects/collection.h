#pragma once

#include "projects/project_settings.h"

namespace heron {

/// All projects of one target application, as the projects directory has them.
///
/// The lock guards the table. It is not reentrant, and it is taken before the queue of a file, never after it.
class ProjectCollection {
 public:
  void init(const py::Object& application, const py::Object& target_application);

  py::List names() const;    ///< Of the projects that are not deleted, sorted.
  py::List headers() const;  ///< The same, by name and time of the last edit.
  py::Object iterate() const;
  py::Object get(const py::Object& filename) const;  ///< Read again if the file has grown; an empty one if unknown.
  py::Object get_file(const py::Object& name) const;
  py::Ref<ProjectSettings> get_empty() const;
  bool is_approved(const py::Object& project) const;

  void save_project(const py::Object& project) const { save(project); }
  py::Object create_http_request() const;
  void accept_http_response(const py::Object& projects) const;

  // The steps of these.
  void load() const;
  void load_file(const py::Object& json_path) const;
  void save(const py::Object& project) const;
  void erase(const py::Object& path) const;

  py::Dict get_errors() const { return errors.copy(); }

  py::Object api, target, directory;
  py::Dict table;   ///< The projects by their paths.
  py::Dict errors;  ///< Why a file, or the directory, could not be read, written or erased, by its path.
  py::Object mutex_edit;

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&api, &target, &directory, &mutex_edit}) visit(*field);
    visit(table);
    visit(errors);
  }

 private:
  py::Ref<ProjectCollection> self() const { return py::Ref<ProjectCollection>::of(*this); }
  std::vector<py::Object> present() const;  ///< The projects that are not deleted. The lock is held.
  std::vector<py::Object> file_names() const;
  py::Object make(const py::Object& json_path, const StoredDocument& read) const;
  void take_up(const py::Object& path, const StoredDocument& read) const;
  void settle(const py::Object& path, const py::Object& error) const;
  void reload(const py::Object& project) const;
  py::Object accept(const py::Object& contents) const;
  py::Object take(const py::Object& project) const;
  bool make_room(const py::Object& path) const;
  void erase_all_but(const py::Set& kept) const;
};

/// Puts `Collection` into `_Project`, with its messages to and from the server.
void expose_project_collection(const py::Scope& project);

}  // namespace heron
