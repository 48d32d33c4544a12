#pragma once

#include "scene/buffer.h"
#include "scene/ghost_scene.h"
#include "scene/joint_builder.h"

namespace heron {

/// Makes joints of the objects that fit the pattern. As long as the pattern and the snapshot stay the same, the pattern
/// is read once for all of them and it is one run, which pauses between two of them.
class Loader {
 public:
  Loader(const py::Ref<Hierarchy>& hierarchy, Host host) : hierarchy_(hierarchy), host_(std::move(host)) {}

  /// The joints of these objects, under one for the ghost if the pattern has one.
  py::List load(const py::Object& roots);

 private:
  struct Run;
  struct Paused;

  const py::Ref<Hierarchy> hierarchy_;
  const Host host_;
  bool has_ghost_ = false;
  std::vector<py::Object> scopes_;  // of which the pattern was read; a new pattern has new ones
  std::shared_ptr<const PlannedPattern> pattern_;
  std::shared_ptr<Run> run_;
};

/// Matches the buckets of a buffer with the scene again.
class Reload {
 public:
  Reload(const py::Ref<Hierarchy>& hierarchy, const Host& host, const py::Ref<Buffer>& buffer);

  /// Each of the buckets, one after the other.
  void all();
  /// Gives the bucket a new joint, or removes it from the buffer if its roots fit no more.
  void bucket(const py::Object& bucket);

 private:
  const Host host_;
  const py::Ref<Buffer> buffer_;
  Loader loader_;
  GhostScene ghosts_;
};

}  // namespace heron
