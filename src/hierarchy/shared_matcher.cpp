#include "hierarchy/shared_matcher.h"

#include "hierarchy/re_matcher.h"
#include "matching/native_matcher.h"

namespace heron {

NameMatcher& shared_matcher() {
  // Never released: the objects that the runtime's part holds would outlive the runtime.
  static NameMatcher& matcher = *new NativeMatcher(*new ReMatcher);
  return matcher;
}

}  // namespace heron
