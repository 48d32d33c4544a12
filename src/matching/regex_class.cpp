#include "matching/regex_class.h"

#include <variant>

#include "matching/utf8.h"

namespace heron {
namespace {

/// A member of a class, or the end of a range.
using Member = std::variant<char, CharacterSet>;

std::optional<Member> take_escape(std::string_view& rest) {
  if (rest.empty()) return std::nullopt;
  const char c = rest.front();
  rest.remove_prefix(1);
  if (c == 'b') return '\b';  // outside of classes it is an anchor
  if (const auto set = named_set(c)) return *set;
  if (const auto character = escaped_character(c)) return *character;
  return std::nullopt;
}

std::optional<Member> take_member(std::string_view& rest) {
  if (rest.empty() || rest.front() == '[' || !utf8::is_ascii(rest.front())) return std::nullopt;
  const char c = rest.front();
  rest.remove_prefix(1);
  if (c == '\\') return take_escape(rest);
  return c;
}

/// Two of these in a row may be an operation on sets one day, so the runtime warns of them.
bool begins_with_operator(std::string_view rest) {
  return rest.starts_with("--") || rest.starts_with("&&") || rest.starts_with("||") || rest.starts_with("~~");
}

bool take_member_or_range(std::string_view& rest, CharacterSet& set) {
  if (begins_with_operator(rest)) return false;
  const std::optional<Member> first = take_member(rest);
  if (!first || rest.starts_with("--")) return false;
  if (!rest.starts_with('-') || rest.starts_with("-]")) {
    if (const auto* members = std::get_if<CharacterSet>(&*first)) {
      set.add(*members);
    } else {
      set.add(std::get<char>(*first), std::get<char>(*first));
    }
    return true;
  }
  rest.remove_prefix(1);
  const std::optional<Member> last = take_member(rest);
  if (!last || !std::holds_alternative<char>(*first) || !std::holds_alternative<char>(*last)) return false;
  if (std::get<char>(*first) > std::get<char>(*last)) return false;
  set.add(std::get<char>(*first), std::get<char>(*last));
  return true;
}

}  // namespace

std::optional<CharacterSet> named_set(char letter) {
  switch (letter) {
    case 'd':
      return CharacterSet::digits();
    case 'D':
      return CharacterSet::digits().inverse();
    case 's':
      return CharacterSet::spaces();
    case 'S':
      return CharacterSet::spaces().inverse();
    case 'w':
      return CharacterSet::words();
    case 'W':
      return CharacterSet::words().inverse();
    default:
      return std::nullopt;
  }
}

std::optional<char> escaped_character(char c) {
  switch (c) {
    case 'a':
      return '\a';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'v':
      return '\v';
    default: {
      const bool punctuation = utf8::is_ascii(c) && !CharacterSet::words().contains(c);
      return punctuation || c == '_' ? std::optional(c) : std::nullopt;
    }
  }
}

std::optional<CharacterSet> take_class(std::string_view& rest) {
  CharacterSet set = CharacterSet::none();
  const bool negated = rest.starts_with('^');
  if (negated) rest.remove_prefix(1);
  if (rest.starts_with(']')) return std::nullopt;  // a member where it comes first: hardly what was meant
  while (!rest.starts_with(']')) {
    if (!take_member_or_range(rest, set)) return std::nullopt;
  }
  rest.remove_prefix(1);
  return negated ? set.inverse() : set;
}

}  // namespace heron
