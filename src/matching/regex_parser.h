#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "matching/regex_program.h"

namespace heron {

/// Compiles regular expressions of the runtime's syntax, as far as their meaning is certain.
///
/// That is: literals, escaped punctuation and control characters, ASCII classes, `.`, `\d \s \w \D \S \W`, the anchors
/// `^ $ \A \Z \b`, groups without names, alternatives, and greedy and lazy repeats of what cannot be empty. The rest is
/// left to the runtime: what it refuses or warns of, what its versions read differently, what would become too large.
class RegexParser {
 public:
  static constexpr std::size_t kMaxExpression = 4096;  ///< Bytes; what is longer is left to the runtime.

  /// The program of an expression in UTF-8. False, and no program, if it is to be left to the runtime.
  static bool compile(std::string_view expression, Program& program);

 private:
  /// A group that is open; the outermost is the whole expression.
  struct Group {
    std::size_t begin;         // its first instruction
    std::size_t branch;        // that of the present alternative
    std::size_t last_exit;     // the jump at the end of the alternative before, which knows the one before itself
    bool branch_empty = true;  // can the present alternative match the empty text?
    bool other_empty = false;  // can one before it?
  };
  struct Repeat {
    std::size_t minimum, maximum;
    bool lazy;
  };

  RegexParser(std::string_view expression, std::vector<Instruction>& code) : rest_(expression), code_(code) {}

  // What these take off the rest is compiled. They return false for what is not for us.
  bool parse();
  bool parse_piece();
  bool parse_atom();
  bool parse_group();
  bool parse_escape();
  bool parse_class();
  bool parse_character();
  bool parse_repeat();

  std::optional<Repeat> take_repeat();
  bool take_counts(Repeat& repeat);
  std::optional<std::size_t> take_number();
  bool take(char c);

  bool open_group();
  bool close_group();
  void begin_alternative();

  bool add_character(std::string_view bytes);
  bool add(const Instruction& instruction, bool can_be_empty);
  bool repeat(const Repeat& repeat);
  Group& group() { return groups_[depth_ - 1]; }

  static constexpr std::size_t kMaxDepth = 32;

  std::string_view rest_;
  std::vector<Instruction>& code_;
  std::array<Group, kMaxDepth> groups_;
  std::size_t depth_ = 0;
  // What a repeat would apply to: all from this instruction on, or of a text that may grow its last character.
  std::size_t atom_ = 0;
  bool atom_empty_ = false;         // can it match the empty text?
  std::size_t last_character_ = 0;  // its bytes; 0 if the last instruction is no text that may grow
};

}  // namespace heron
