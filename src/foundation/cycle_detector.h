#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <functional>

namespace heron {

/// Tells of a walk that has come back to where it was, so that it need not go on for ever.
///
/// It remembers what stands at the depths 1, 2, 4, 8 ... of the present way. A way that runs in a circle meets the last
/// of these again, at the latest at twice the depth at which all of the circle has been walked once; no table of all
/// ancestors is needed. A walk that never turns back to another way needs one mark only.
template <class Mark = const void*, std::size_t kMarks = 32, class Same = std::equal_to<Mark>>
class CycleDetector {
 public:
  /// Must be told of every step: what is entered, and at which depth, the first being 1. True if the walk runs in a
  /// circle, or on without an end: objects may make a new one each time they are asked what is next.
  bool returns(std::size_t depth, const Mark& entered) {
    if (depth > kDeepest) return true;
    if (depth > 1 && Same()(marks_[place(depth - 1)], entered)) return true;
    if (std::has_single_bit(depth)) marks_[place(depth)] = entered;
    return false;
  }

 private:
  static constexpr std::size_t kDeepest = 5'000'000;

  /// Of the mark that is the last at this depth.
  static std::size_t place(std::size_t depth) { return kMarks == 1 ? 0 : std::bit_width(depth) - 1; }

  // Only what was marked on the way here is looked at.
  std::array<Mark, kMarks> marks_;  // NOLINT(cppcoreguidelines-pro-type-member-init)
};

}  // namespace heron
