#pragma once

#include <optional>
#include <string_view>

#include "matching/character_set.h"

namespace heron {

// The parts of regular expressions that stand for one character. Nothing comes back for what is invalid, what the
// runtime warns of, and what is not certain: see RegexParser.

/// The set that a letter after a backslash names, as in `\d`.
std::optional<CharacterSet> named_set(char letter);

/// The ASCII character that one after a backslash stands for, in a class or not; punctuation stands for itself.
std::optional<char> escaped_character(char c);

/// The set that stands in brackets. Takes it off the rest of the expression, which begins after the opening one.
std::optional<CharacterSet> take_class(std::string_view& rest);

}  // namespace heron
