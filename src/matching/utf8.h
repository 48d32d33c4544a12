#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace heron::utf8 {

inline bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

/// Does this byte belong to the character that an earlier one began?
inline bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// Where the character after the one at `at` begins, or the text ends.
inline std::size_t next(std::string_view text, std::size_t at) {
  do ++at;
  while (at < text.size() && continues(text[at]));
  return at;
}

/// The number of characters in a text.
inline std::size_t count_characters(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continues));
}

}  // namespace heron::utf8
