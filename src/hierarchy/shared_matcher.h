#pragma once

#include "matching/name_matcher.h"

namespace heron {

/// The matcher of the process: expressions are shared by all that match.
NameMatcher& shared_matcher();

}  // namespace heron
