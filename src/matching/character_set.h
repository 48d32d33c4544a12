#pragma once

#include <array>
#include <cstdint>

namespace heron {

/// A set of characters, as expressions name them: the ASCII ones one by one, all others alike.
struct CharacterSet {
  /// Are the characters beyond ASCII in the set? That depends for `\d`, `\s` and `\w`, whose tables are the runtime's.
  enum class Others : unsigned char { kOut, kIn, kUnsure };

  std::array<std::uint64_t, 2> ascii;
  Others others;

  constexpr bool contains(char ascii_character) const {
    const auto code = static_cast<unsigned char>(ascii_character);
    return (ascii[code / 64] >> (code % 64) & 1U) != 0;
  }
  constexpr void add(char first, char last) {
    for (auto code = static_cast<unsigned char>(first); code <= static_cast<unsigned char>(last); ++code) {
      ascii[code / 64] |= std::uint64_t{1} << (code % 64);
    }
  }
  constexpr void add(const CharacterSet& set) {
    ascii[0] |= set.ascii[0];
    ascii[1] |= set.ascii[1];
    if (others != Others::kUnsure) others = set.others == Others::kOut ? others : set.others;
  }
  constexpr CharacterSet inverse() const {
    const Others rest = others == Others::kOut ? Others::kIn : others == Others::kIn ? Others::kOut : Others::kUnsure;
    return {{~ascii[0], ~ascii[1]}, rest};
  }

  static constexpr CharacterSet none() { return {{0, 0}, Others::kOut}; }
  static constexpr CharacterSet digits() {
    CharacterSet set{{0, 0}, Others::kUnsure};
    set.add('0', '9');
    return set;
  }
  static constexpr CharacterSet spaces() {
    CharacterSet set{{0, 0}, Others::kUnsure};
    set.add('\t', '\r');
    set.add('\x1c', ' ');  // the separators of files, groups, records and units count as space
    return set;
  }
  static constexpr CharacterSet words() {
    CharacterSet set = digits();
    set.add('A', 'Z');
    set.add('a', 'z');
    set.add('_', '_');
    return set;
  }
};

}  // namespace heron
