#pragma once

#include <array>
#include <bit>
#include <cstddef>

namespace heron {

/// Tells of a walk down a tree that has come back to where it was, so that it need not go down for ever.
///
/// It remembers what stands at the depths 1, 2, 4, 8 ... of the present way. A way that runs in a circle meets one of
/// these again, at the latest at twice the depth at which all of the circle has been walked once; no table of all
/// ancestors is needed.
class CycleDetector {
 public:
  /// Must be told of every step down: what is entered, and at which depth, the first being 1. True if the walk runs in
  /// a circle, or down without an end: objects may make a new one each time they are asked what is below.
  bool returns(std::size_t depth, const void* entered) {
    if (depth > kDeepest) return true;
    std::size_t mark = 0;
    for (std::size_t marked = 1; marked < depth; marked *= 2) {
      if (marks_[mark++] == entered) return true;
    }
    if (std::has_single_bit(depth)) marks_[mark] = entered;
    return false;
  }

 private:
  static constexpr std::size_t kDeepest = 5'000'000;

  // Only what was marked on the way here is looked at.
  std::array<const void*, 64> marks_;  // NOLINT(cppcoreguidelines-pro-type-member-init)
};

}  // namespace heron
