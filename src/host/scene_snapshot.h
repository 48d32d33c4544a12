#pragma once

#include <memory>
#include <vector>

#include "host/host.h"
#include "host/operator.h"
#include "matching/snapshot.h"

namespace heron {

/// A short description of a scene object. The path is its identity.
class Location {
 public:
  void init(const py::Object& name, const py::Object& path, const py::Object& type, const py::Object& children);
  bool equals(const py::Object& other) const;
  Py_hash_t hash() const { return path.hash(); }

  py::Object name, path, type;
  py::Object children = py::List();

  template <class V>
  void members(V& visit) {
    visit(name);
    visit(path);
    visit(type);
    visit(children);
  }
};

/// What an upload copied: the snapshot for the matching, and beside it what the host gave, as it gave it.
///
/// A run of the matching keeps the copy that it began with, whatever is uploaded meanwhile.
struct SceneCopy {
  struct Object {
    py::Object path, name, type, parent;
    py::Object children;  ///< No list stands here for an object without any, until somebody asks for it.
    bool visited = false;
    bool answered = false;  ///< Did the host say that it has no children?
  };

  Snapshot snapshot;
  std::vector<Object> objects;    // by the snapshot's numbers
  std::vector<ObjectId> visited;  // in the order in which the host was asked
  int uploads = 0;                // under way

  ObjectId mention(const py::Object& path);
  /// The list of an object's children, as the host gave it; an empty one of ours where it gave none.
  py::Object children(ObjectId object);
};

/// The engine's snapshot of a part of the scene. Reading it never calls the host.
class SceneSnapshot : public QueryOp {
 public:
  void init(const Host& host_) { host = host_; }

  void offload();
  void upload(const py::Iterable& roots, bool clear);
  bool object_exists(const py::Object& path) const;
  py::Object get_type(const py::Object& path) const;
  py::Object get_parent(const py::Object& path) const;
  py::Object get_children(const py::Object& path) const;
  py::List get_locations(const py::Iterable& roots) const;

  const std::shared_ptr<SceneCopy>& copy() const { return copy_; }

  // The content as maps by path, made when they are asked for.
  py::Dict exists_table() const;
  py::Dict name_table() const;
  py::Dict type_table() const;
  py::Dict parent_table() const;
  py::Dict children_table() const;

  Host host;

  template <class V>
  void members(V& visit) {
    visit(host);
    for (SceneCopy::Object& object : copy_->objects) {
      visit(object.path);
      visit(object.name);
      visit(object.type);
      visit(object.parent);
      visit(object.children);
    }
  }

 private:
  static std::optional<ObjectId> find(const SceneCopy& copy, const char* operation, const py::Object& path);
  /// By value: calling Python may replace the copy.
  SceneCopy::Object read(const char* operation, const py::Object& path) const;
  template <class G>
  py::Dict table(G&& value) const;

  std::shared_ptr<SceneCopy> copy_ = std::make_shared<SceneCopy>();
};

void expose_scene_snapshot(const py::Scope& scene);

}  // namespace heron
