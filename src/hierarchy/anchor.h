#pragma once

#include "hierarchy/capture_table.h"
#include "hierarchy/shared_matcher.h"
#include "matching/anchor_logic.h"
#include "runtime/class.h"

namespace heron {

/// Expressions with anchors as Python sees them; the work is AnchorLogic's.
class Anchor {
 public:
  std::string replace_anchors(const std::string& expression, const std::string& path);
  std::string apply_anchors(const std::string& expression);
  bool match(const std::string& expression, const std::string& name, const std::string& path);
  void extract_anchors(const std::string& expression, const std::string& name, const std::string& path);
  bool has_anchor(const std::string& expression);
  bool has_sub_anchor(const std::string& expression);

  py::Object get_state() const { return state; }

  /// For work within a `StateEdit` of the state.
  AnchorLogic& logic() { return logic_; }

  // Offered to the garbage collector to look at but not to drop: the logic works on it.
  const py::Ref<CaptureTable> state = py::Ref<CaptureTable>::make();

  template <class V>
  void members(V& visit) {
    if constexpr (std::is_same_v<V, py::Traverse>) visit(state);
  }

 private:
  template <class F>
  auto edit(F&& work);

  AnchorLogic logic_{state->content(), shared_matcher()};
};

void expose_anchor(const py::Scope& hierarchy);

}  // namespace heron
