#pragma once

#include "hierarchy/capture_table.h"
#include "matching/layer_search.h"

namespace heron {

/// Native work on a table of captures, which Python may hold as a map meanwhile.
///
/// What Python put into its map counts from the beginning, unless the edit begins with another state. What the work did
/// reaches the map with `commit`; where an error ends the edit before, the map keeps what it had.
class StateEdit {
 public:
  explicit StateEdit(CaptureTable& table);
  /// Begins with another state. A map that Python holds is not looked at; see `replace`.
  StateEdit(CaptureTable& table, AnchorState state);
  StateEdit(const StateEdit&) = delete;
  StateEdit& operator=(const StateEdit&) = delete;

  AnchorState& state() const { return table_->content_; }

  /// Puts another table in place of this one. A map that Python holds stays as it is, and is not of this state any
  /// more.
  void replace(AnchorState state);
  /// The same with what a search makes of this one, if it has any scopes to search for: it puts earlier states back all
  /// the time.
  void begin_search(const LayerPlan& scopes);
  /// After it, if it put an earlier state back, which is as an assignment of a state: the stored hash is that of the
  /// outcome.
  void end_search(const LayerSearch& search);

  /// Shows Python the outcome.
  void commit();

 private:
  void let_go();

  const py::Ref<CaptureTable> table_;  // the work may run Python code that lets go of it
};

}  // namespace heron
