#pragma once

#include "hierarchy/hierarchy.h"
#include "host/scene_snapshot.h"
#include "host/ways.h"

namespace heron {

/// Tells of one bucket after the other whether its roots may still stand under the pattern's ghost. Each time the
/// snapshot is that of all below their top-most ancestors; where the ones before had the same, it is still good.
///
/// Thousands of groups below one object of the scene would else take as many copies of the whole scene.
class GhostScene {
 public:
  GhostScene(const Host& host, const py::Ref<SceneSnapshot>& snapshot, const py::Ref<Hierarchy>& hierarchy)
      : host_(host), snapshot_(snapshot), hierarchy_(hierarchy), tops_(Ways::to_top(host)) {}

  /// True for a joint that is no ghost.
  bool match(const py::Object& joint);

 private:
  void upload(const py::List& scene_roots);

  const Host host_;
  const py::Ref<SceneSnapshot> snapshot_;
  const py::Ref<Hierarchy> hierarchy_;
  Ways tops_;
  py::Object uploaded_;                       // the different ones of the last roots
  std::shared_ptr<const SceneCopy> content_;  // held, so that whatever else is uploaded is told from it
};

}  // namespace heron
