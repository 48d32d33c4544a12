#pragma once

#include "hierarchy/capture_table.h"

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
  /// The same with what the work makes of this one.
  void replace();

  /// Shows Python the outcome.
  void commit();
  /// The same after work that put earlier states back, as an assignment of a state does: the table is another one, and
  /// the stored hash is that of the outcome.
  void commit_applied();

 private:
  const py::Ref<CaptureTable> table_;  // the work may run Python code that lets go of it
};

}  // namespace heron
