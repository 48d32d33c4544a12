#pragma once

#include "hierarchy/pattern.h"
#include "hierarchy/search.h"
#include "matching/ghost_plan.h"

namespace heron {

/// Compares whole trees of scene objects with the whole pattern.
class Hierarchy {
 public:
  void init(const SceneQueries& query_operator, const py::Object& check_classes);

  py::List root_scopes(const py::Iterable& roots) const;
  bool ghost_scope_match(const py::Iterable& roots) const;
  bool is_ghost_root(const py::Object& ghost, const py::Object& path) const;

  py::List mask(const py::Iterable& roots);
  bool is_valid(const py::Iterable& roots);
  bool match(const py::Iterable& roots, const py::Iterable& scopes);
  void find_anchors();
  void run_over_rules(const py::Object& function, const py::Iterable& scopes) const;

  py::Object get_pattern() const { return pattern; }
  py::Object get_search() const { return search; }

  SceneQueries query_op;
  py::Ref<Pattern> pattern = py::Ref<Pattern>::make();
  py::Ref<Search> search = py::Ref<Search>::make();

  template <class V>
  void members(V& visit) {
    visit(query_op);
    visit(pattern);
    visit(search);
  }

 private:
  friend class HierarchyRun;

  bool begins_at(const GhostPlan& plan, const py::Object& path) const;

  bool running_ = false;
};

void expose_hierarchy(const py::Scope& module);

}  // namespace heron
