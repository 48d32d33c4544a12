#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "matching/regex_program.h"

namespace heron {

/// Runs compiled expressions over texts in UTF-8, and finds what the runtime's `re` finds.
///
/// Where an expression gives a choice, one way is tried and the other kept for later. A choice that was met at a place
/// of the text before is not tried there again, as it would fail again. So whatever the expression, the time of a match
/// grows in step with the text.
class Backtracker {
 public:
  // Neither answers where that takes the runtime's tables of characters, or if the text is far longer than names are.

  /// Does the expression match at the start of the text?
  std::optional<bool> match(const Program& program, std::string_view text);

  /// The text without all that the expression matches. What failed at one place is not tried again from the next.
  std::optional<std::string> remove_all(const Program& program, std::string_view text);

 private:
  enum class Outcome { kFailed, kMatched, kUnsure };
  struct Choice {
    std::uint32_t instruction, position;
  };

  bool begin(const Program& program, std::string_view text);
  /// From this place on; with `must_advance` no empty match. Where a match ends is kept.
  Outcome run(std::size_t start, bool must_advance);
  Outcome is_word_edge(std::size_t at) const;
  bool visit(std::uint32_t choice, std::size_t at);
  void forget_visits_at_end();

  // Of the present text. Kept from one to the next, so that mostly nothing is allocated.
  const Program* program_ = nullptr;
  std::string_view text_;
  std::size_t end_ = 0;                // of the last match
  std::vector<Choice> choices_;        // still to be tried, the last first
  std::vector<std::uint64_t> visits_;  // a bit for each place of the text and each choice of the program
};

}  // namespace heron
