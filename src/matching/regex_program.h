#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "matching/character_set.h"

namespace heron {

/// One step of a compiled expression. It carries all that it needs, so that a piece of a program can be moved and
/// repeated by copying it.
struct Instruction {
  enum class Op : unsigned char {
    kText,      ///< These bytes stand here.
    kSet,       ///< A character of this set stands here.
    kStart,     ///< Here is the start of the text.
    kEnd,       ///< Here is the end of the text, or the line feed that ends it.
    kVeryEnd,   ///< Here is the end of the text.
    kWordEdge,  ///< A word begins or ends here.
    kJump,      ///< Go on elsewhere.
    kTryNext,   ///< Go on with the next instruction or, if that leads nowhere, elsewhere.
    kTryJump,   ///< Go on elsewhere or, if that leads nowhere, with the next instruction.
    kMatch,     ///< The expression matches up to here.
  };
  static constexpr std::size_t kTextSize = sizeof(CharacterSet);

  Op op;
  std::uint8_t length = 0;     ///< Of the text.
  std::uint16_t choice = 0;    ///< The number of this instruction among those that try.
  std::int32_t elsewhere = 0;  ///< Counted from this instruction.
  union {
    CharacterSet set;
    std::array<char, kTextSize> text;
  };

  explicit Instruction(Op op_, std::ptrdiff_t elsewhere_ = 0)
      : op(op_), elsewhere(static_cast<std::int32_t>(elsewhere_)), text{} {}
  explicit Instruction(const CharacterSet& set_) : op(Op::kSet), set(set_) {}

  bool tries() const { return op == Op::kTryNext || op == Op::kTryJump; }
};

/// A compiled expression. It begins with the first instruction, and is run by Backtracker.
struct Program {
  std::vector<Instruction> code;
  std::uint32_t choices = 0;  ///< Instructions that try.
};

}  // namespace heron
