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

  /// For a caller that keeps the state in step with Python itself.
  AnchorLogic& logic() { return logic_; }

  /// Native work on the state: what Python added to its map counts before, and the map shows the outcome after.
  class Session {
   public:
    explicit Session(Anchor& anchor) : anchor_(anchor), owner_(py::object_of(anchor)) { anchor.state->native(); }
    ~Session() noexcept(false);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    AnchorLogic& operator*() const { return anchor_.logic_; }
    AnchorLogic* operator->() const { return &anchor_.logic_; }

   private:
    Anchor& anchor_;
    py::Object owner_;  // the work may run Python code that lets go of the anchor
  };

  // Offered to the garbage collector to look at but not to drop: the logic works on it.
  const py::Ref<CaptureTable> state = py::Ref<CaptureTable>::make();

  template <class V>
  void members(V& visit) {
    if constexpr (std::is_same_v<V, py::Traverse>) visit(state);
  }

 private:
  AnchorLogic logic_{state->content(), shared_matcher()};
};

void expose_anchor(const py::Scope& hierarchy);

}  // namespace heron
