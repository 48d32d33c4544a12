#pragma once

#include <algorithm>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "matching/definitions.h"

namespace heron {

/// A pattern as the search reads it: taken over from the pattern's objects once, for one run.

struct LayerPlan;

/// How many objects of one layer must match a rule.
struct CountRange {
  long long minimum = 1, maximum = 1;  ///< Both inclusive.

  bool allows(std::size_t count) const {
    const auto found = static_cast<long long>(count);
    return minimum <= found && found <= maximum;
  }
  bool optional() const { return allows(0); }
};

/// One rule: what an object must look like, and how many of them one layer must hold.
struct RulePlan {
  std::string regex;
  std::vector<std::string> types;  ///< Allowed object types.
  bool any_type = true;
  CountRange range;
  std::size_t number = 0;  ///< Position in the plan.

  bool accepts_type(std::string_view type) const {
    if (any_type) return true;
    return type.data() != nullptr && std::find(types.begin(), types.end(), type) != types.end();
  }
};

/// A rule at one place of the pattern, with what may stand below it.
struct ScopePlan {
  const RulePlan* rule;
  const LayerPlan* children;  ///< None in the plan of a single layer.
  bool leaf;                  ///< May nothing stand below it?
  std::size_t slot;    ///< Position in the layer of the first scope with an equal rule: they share what they take.
  std::size_t number;  ///< Position in the plan.
};

/// Is there nothing below an object and nothing wanted below it? Then there is nothing to compare.
constexpr bool is_deadlock(bool has_children, bool leaf) { return !has_children && leaf; }

/// The scopes that one list of sibling objects is compared with.
struct LayerPlan {
  std::vector<ScopePlan> scopes;

  /// May the layer stay without any object?
  bool optional() const {
    return std::all_of(scopes.begin(), scopes.end(),
                       [](const ScopePlan& scope) { return scope.rule->range.optional(); });
  }
};

struct PatternPlan {
  std::deque<RulePlan> rules;
  std::deque<LayerPlan> layers;  ///< The first is the top; a deque, since layers refer to each other.
  std::shared_ptr<const Definitions> definitions;

  const LayerPlan& top() const { return layers.front(); }
};

}  // namespace heron
