#pragma once

#include <unordered_map>

#include "matching/ghost_plan.h"
#include "matching/plan.h"
#include "runtime/class.h"

namespace heron {

/// A list of scopes taken over for one run. The plan's numbers lead back to the objects that it was made from.
class PlannedPattern {
 public:
  /// AttributeError or TypeError for scopes that lack what a scope has, RecursionError for one that is below itself.
  explicit PlannedPattern(const py::Object& scopes) : PlannedPattern(scopes, true) {}
  /// Only the scopes themselves, not what stands below them.
  static PlannedPattern layer(const py::Object& scopes) { return PlannedPattern(scopes, false); }

  const PatternPlan& plan() const { return plan_; }
  const py::Object& scope(const ScopePlan& scope) const { return scopes_[scope.number]; }
  const py::Object& rule(const ScopePlan& scope) const { return rules_[scope.rule->number]; }

  template <class V>
  void members(V& visit) {
    visit(scopes_);
    visit(rules_);
  }

 private:
  PlannedPattern(const py::Object& scopes, bool whole);
  const LayerPlan* add_layer(const py::Object& scopes, bool whole);
  const RulePlan* add_rule(const py::Object& rule);

  PatternPlan plan_;
  std::vector<py::Object> scopes_, rules_;
  std::unordered_map<PyObject*, const RulePlan*> planned_;  // nodes of a pattern share their rules
  std::unordered_map<PyObject*, const LayerPlan*> below_;   // and may stand in several places
};

/// What a rule asks of one object: its expression and its types.
RulePlan plan_fit(const py::Object& rule);
/// How many objects a rule's range, `minimum` to `maximum`, allows.
CountRange plan_range(const py::Object& range);
/// Where hierarchies may begin, as a ghost scope says.
GhostPlan plan_ghost(const py::Object& ghost);

/// The definitions in the rules of a list of scopes and of all below them, parents before children.
std::shared_ptr<const Definitions> collect_definitions(const py::Object& scopes);

}  // namespace heron
