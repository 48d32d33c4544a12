#pragma once

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

}  // namespace heron::utf8
