#pragma once

#include "hierarchy/hierarchy.h"
#include "projects/collection.h"

namespace heron {

/// Which state of which project went into the engine last.
class LoadPointer {
 public:
  void init() { *this = LoadPointer(); }

  bool same(const py::Object& settings) const { return !other(settings) && !edited(settings); }
  bool other(const py::Object& settings) const;
  bool edited(const py::Object& settings) const;
  void set(const py::Object& settings);

  py::Object filename, timestamp;

  template <class V>
  void members(V& visit) {
    visit(filename);
    visit(timestamp);
  }
};

/// Decides which project is current, and puts what it says into the engine: pattern, export options and flags.
class ProjectFacade {
 public:
  void init(const py::Object& api_, const py::RefOrNone<Hierarchy>& hierarchy_);

  py::Object get_current() const;
  py::Object get_clone() const;
  void delete_current() const;
  py::Object get_empty() const;
  py::Object get_headers() const;
  bool is_active() const;
  bool is_exists(const py::Object& filename) const;
  void load(const py::Object& filename) const;
  void load_settings(const py::Object& project) const;

  py::Object api;
  py::Ref<Hierarchy> hierarchy;
  py::Ref<ProjectCollection> collection;
  py::Ref<LoadPointer> pointer = py::Ref<LoadPointer>::make();

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(hierarchy);
    visit(collection);
    visit(pointer);
  }
};

/// Puts `_Project` into `Api`.
void expose_project_facade(const py::Scope& api);

}  // namespace heron
