#pragma once

#include <optional>

#include "matching/anchor_state.h"
#include "runtime/class.h"

namespace heron {

/// The memory of a match as Python sees it: the table of definitions, each with a set of (match, scope) pairs.
///
/// The matching works on the native form. The map of sets is made when somebody asks for it; from then on it is the
/// map of this state, and what Python adds to it counts, until the state gets another table.
class CaptureTable {
 public:
  Py_hash_t get_hash();
  bool equals(const py::Object& other);
  py::Object add(const py::Object& other);
  void apply(const py::Ref<CaptureTable>& clone);
  py::Ref<CaptureTable> clone();
  void set(const py::Object& expressions);
  void set_expressions(const py::Object& structure);
  void make_hash();

  py::Dict expressions();
  void assign_expressions(const py::Object& structure);

  /// What native work reads and changes, within a `StateEdit`. It has one place for the life of the table.
  AnchorState& content() { return content_; }

  static py::Ref<CaptureTable> of(AnchorState content);  ///< A new one, its hash up to date.

  template <class V>
  void members(V& visit) {
    visit(opened_);
    visit(shown_);
  }

 private:
  friend class StateEdit;

  static AnchorState read(const py::Object& structure);
  static py::Dict table(const AnchorState& state);
  void take_in();      ///< Reads the map that Python holds, if it does.
  void publish();      ///< Makes that map show the content.
  bool publish_new();  ///< The same if there are only captures more than it shows; else false.
  void remember();     ///< That the map shows the content.
  bool is_as_shown() const;
  void store_hash();  ///< Takes the hash of the content, whatever the map says.

  AnchorState content_;
  py::Object opened_;                  // the map that Python holds, if it asked for one
  py::Object shown_;                   // a copy of what that map was made to show
  AnchorState shown_content_;          // the same natively
  std::optional<AnchorState> hashed_;  // the content as it stood when the hash was last taken
  std::optional<Py_hash_t> hash_;      // of that content, once asked for
};

void expose_capture_table(const py::Scope& anchor);

}  // namespace heron
