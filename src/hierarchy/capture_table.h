#pragma once

#include <optional>

#include "matching/captures.h"
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

  /// The content for the native operations, with what Python added to the map taken in.
  AnchorState& native();
  /// The content as it stands, for those who keep it at hand; `native` brings it up to date.
  AnchorState& content() { return content_; }
  /// Makes the map, if somebody holds it, show what the native operations did.
  void publish();
  void reset(AnchorState content);
  /// Lets go of the map that Python holds, as an assignment of another table does.
  void detach() { opened_ = py::Object(); }
  /// Takes the hash of the native content, whatever the map says.
  void make_native_hash();

  static py::Ref<CaptureTable> of(AnchorState content);  ///< A new state, its hash up to date.

  template <class V>
  void members(V& visit) {
    visit(opened_);
  }

 private:
  static AnchorState read(const py::Object& structure);
  static py::Dict table(const AnchorState& state);

  AnchorState content_;
  py::Object opened_;                  // the map that Python holds, if it asked for one
  std::optional<AnchorState> hashed_;  // the content as it stood when the hash was last taken
  std::optional<Py_hash_t> hash_;      // of that content, once asked for
};

void expose_capture_table(const py::Scope& anchor);

}  // namespace heron
