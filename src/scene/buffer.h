#pragma once

#include "hierarchy/hierarchy.h"
#include "host/scene_snapshot.h"
#include "scene/bucket.h"
#include "scene/bucket_list.h"

namespace heron {

/// The hierarchies found in the scene, kept in the scene file.
class Buffer {
 public:
  void init(const Host& host, const py::RefOrNone<SceneSnapshot>& snapshot, const py::RefOrNone<Hierarchy>& hierarchy);

  // The list.
  bool contains(const py::Object& bucket) const;
  py::List get() const;                      ///< A copy, so that a loop over it may remove.
  void set(const py::Iterable& data);        ///< The old buckets leave as in `clear`.
  void add(const py::Iterable& data) const;  ///< Appends; neither clears nor persists.
  void remove(const py::Object& item);       ///< Tells nobody and persists nothing.
  bool exists() const { return !buckets.list().empty(); }
  py::List get_checked() const;
  static py::List get_roots(const py::Object& joint);  ///< The paths that a root joint stands for.
  py::List get_path_groups() const;
  py::Object get_incompatibles() const { return incompatibles; }

  // Its place in the scene.
  void load();
  void update() const;  ///< Persists: the host forgets the old data first.
  void erase();
  static py::List encode(const py::Iterable& data);
  py::List decode(const py::Iterable& data) const;
  py::Object decode_joint(const py::Object& data) const;

  // Edits; only a partial `clear` persists.
  void rename(const py::Object& source, const py::Object& target) const;
  void repath(const py::Object& source, const py::Object& target) const;
  void clear(bool selected);
  void drop(const py::Iterable& array);
  void sort(const py::Object& root) const;

  // Does the scene still look like this?
  void validate() const;
  bool is_valid() const;
  bool ghosts_match() const;
  bool ghost_match(const py::Object& bucket) const;
  bool is_match(const py::Object& array) const;

  py::List list() const { return buckets.list(); }

  BucketList buckets;
  py::List incompatibles;
  Host host;
  py::Ref<SceneSnapshot> snapshot;
  py::Ref<Hierarchy> hierarchy;

  template <class V>
  void members(V& visit) {
    buckets.members(visit);
    visit(incompatibles);
    visit(host);
    visit(snapshot);
    visit(hierarchy);
  }
};

void expose_buffer(const py::Scope& scene);

}  // namespace heron
