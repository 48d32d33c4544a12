#pragma once

#include <string_view>

#include "matching/name_matcher.h"
#include "matching/path_text.h"
#include "matching/plan.h"

namespace heron {

/// The ghost of a pattern: the parent under which hierarchies may begin. Its range says nothing.
struct GhostPlan {
  RulePlan rule;
  bool at_top;  ///< Hierarchies begin at the top of the scene, under no parent.

  /// May hierarchies begin under an object with this path? A plain expression: no anchors.
  bool accepts_name(NameMatcher& matcher, std::string_view path) const {
    return matcher.match(rule.regex, path_text::short_name(path));
  }
  /// And with this type?
  bool accepts_type(std::string_view type) const { return rule.accepts_type(type); }
};

}  // namespace heron
