#pragma once

#include <memory>
#include <optional>

#include "hierarchy/hierarchy.h"
#include "hierarchy/state_edit.h"
#include "host/scene_snapshot.h"
#include "matching/runner.h"

namespace heron {

/// One run of the matching: the pattern as it is now, the objects as they are now, and the captures of the
/// hierarchy's search. RuntimeError while another run of the same hierarchy is under way.
class HierarchyRun {
 public:
  explicit HierarchyRun(Hierarchy& hierarchy) : HierarchyRun(hierarchy, hierarchy.pattern->get()) {}
  HierarchyRun(Hierarchy& hierarchy, const py::Object& scopes)
      : HierarchyRun(hierarchy, std::make_shared<const PlannedPattern>(scopes)) {}
  HierarchyRun(Hierarchy& hierarchy, std::shared_ptr<const PlannedPattern> pattern);

  Runner& runner() { return runner_; }
  const PlannedPattern& pattern() const { return *planned_; }
  /// Are the objects still as they were when the run began? Only of our own snapshot that is known.
  bool is_current() const;
  // Between the two the hierarchy may run otherwise; then the captures are to be found anew.
  void pause();
  void resume();

  /// The objects at these paths that exist, in order.
  std::vector<ObjectId> locate(const py::Object& paths);
  py::Object path(ObjectId object) const;
  py::Object name(ObjectId object) const;

  /// Forgets the captures, also where Python holds the table of them, and takes over the pattern's definitions.
  void find_anchors();
  /// Forgets the captures; do these objects, with all below them, fit the pattern?
  bool is_valid(const py::Object& roots);
  /// Lets Python see the captures of the run. Left out when an error ends it.
  void finish();

 private:
  /// Keeps the hierarchy, and marks it as running for as long as this lives.
  class Claim {
   public:
    explicit Claim(Hierarchy& hierarchy);
    ~Claim() { (*hierarchy_).running_ = false; }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

   private:
    const py::Ref<Hierarchy> hierarchy_;
  };

  StateEdit& edit();
  static std::shared_ptr<SceneCopy> snapshot_of(const py::Object& query);
  Objects& objects() { return copy_ ? static_cast<Objects&>(copy_->snapshot) : locations_; }

  const py::Ref<Hierarchy> hierarchy_;
  std::optional<Claim> claim_;
  const py::Ref<Search> search_;
  const py::Ref<Anchor> anchor_;
  std::optional<StateEdit> edit_;  // of the captures, while the claim lasts
  const std::shared_ptr<const PlannedPattern> planned_;
  const std::shared_ptr<SceneCopy> copy_;  // the snapshot, where that is what the hierarchy asks
  LocationObjects locations_;              // any other query object
  Runner runner_;
};

}  // namespace heron
