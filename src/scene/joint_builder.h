#pragma once

#include <vector>

#include "hierarchy/hierarchy_run.h"

namespace heron {

/// Builds the joints of what a run matches, and tells the host of each. The run should pause meanwhile, so that the
/// host may use the hierarchy.
class JointBuilder {
 public:
  JointBuilder(HierarchyRun& run, const Host& host) : run_(run), host_(host) {}

  /// The joints of what was matched. A joint is complete, its children first, when the host hears of it.
  py::List build(const MatchTree& tree);

  /// The joints under one that stands for their ghost; nothing if there are none.
  py::List under_ghost(const py::List& joints) const;

 private:
  struct Face {  // what all joints of a rule have in common
    py::Object stamp, type, icon, color;
  };
  const Face& face(const ScopePlan& scope);
  py::Object joint(const Pairing& pairing, const py::Object& children);  ///< Without children if none is given.

  HierarchyRun& run_;
  const Host& host_;
  std::vector<Face> faces_;  // by the rule's number
};

}  // namespace heron
