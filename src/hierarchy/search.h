#pragma once

#include <memory>

#include "hierarchy/anchor.h"
#include "hierarchy/locations.h"
#include "hierarchy/planned_pattern.h"
#include "matching/layer_search.h"

namespace heron {

/// One object matched by one scope.
class Response {
 public:
  void init(const py::Object& location_, const py::Object& scope_) {
    location = location_;
    scope = scope_;
  }

  py::Object location, scope;

  template <class V>
  void members(V& visit) {
    visit(location);
    visit(scope);
  }
};

/// What a layer's search found; empty if the layer does not fit.
class Result {
 public:
  void init(const py::Object& array_);
  bool is_empty() const { return !array.truth(); }
  py::Object iterate() const { return array.iterate(); }

  py::Object array = py::List();

  template <class V>
  void members(V& visit) {
    visit(array);
  }
};

/// The search of a layer as Python sees it: any query object, any scopes, step by step. The work is LayerSearch's.
class Search {
 public:
  void init(const SceneQueries& query_operator);

  py::Ref<Result> layer(const py::Iterable& roots, const py::Iterable& scopes, bool exact);
  void load_variables(const py::Iterable& roots, const py::Iterable& scopes, bool exact);
  void backup_state();
  void reset_state();
  void make_guess();
  bool scope_match(const py::Object& location, const py::Object& scope);
  bool wrong_guess();
  py::Ref<Result> create_response(bool empty);

  // The state of the last layer, made when it is asked for.
  py::List locations() const;
  py::Dict guess() const;
  py::Object backup() const { return backup_; }
  void set_backup(const AnchorState& state) { backup_ = CaptureTable::of(state); }
  py::Object get_logic() const { return logic; }

  SceneQueries operator_;
  // Offered to the garbage collector to look at but not to drop: the runs work on it.
  const py::Ref<Anchor> logic = py::Ref<Anchor>::make();
  py::Object scopes = py::List();
  bool exact = true;

  template <class V>
  void members(V& visit) {
    if constexpr (std::is_same_v<V, py::Traverse>) visit(logic);
    visit(operator_);
    visit(scopes);
    visit(backup_);
    if (run_) {
      run_->planned.members(visit);
      run_->objects.members(visit);
    }
  }

 private:
  /// What one layer works with; a new one for each, so that a layer inside a layer cannot pull it away.
  struct Run {
    Run(Search& search, const py::Object& roots, const py::Object& scopes, bool exact);

    bool guessing = false;

    PlannedPattern planned;
    LocationObjects objects;
    LayerShelf shelf;
    RuleBook rules;
    LayerSearch search;
  };
  const std::shared_ptr<Run>& current();

  py::Ref<CaptureTable> backup_ = logic->state->clone();
  std::shared_ptr<Run> run_;
};

void expose_search(const py::Scope& hierarchy);

}  // namespace heron
