#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace heron::anchor_text {

// The syntax of anchors. An anchor is the shortest run between "<" and the next ">" of one line. With one colon it
// is a definition `<name:value>`, otherwise a usage `<name>`. All texts are UTF-8; no operation splits a character.

/// All anchors of a text in order of appearance, with their brackets.
std::vector<std::string_view> find_all(std::string_view text);

/// Is this anchor, with or without brackets, a definition: exactly one colon?
bool has_definition(std::string_view text);

/// The definitions of a text in order of appearance, with their brackets; repeats stay.
std::vector<std::string_view> find_definitions(std::string_view text);

/// A definition taken apart: the usage that asks for it, `<name>`, and its value.
struct Unpacked {
  std::string usage, value;
};
/// Brackets anywhere in the definition are dropped first. std::invalid_argument unless there is exactly one colon.
Unpacked unpack(std::string_view definition);

/// `value` as it is put in place of `anchor` in `source`: without its final "$" when more of the expression
/// follows. std::invalid_argument if such a value's anchor does not stand in `source` exactly once.
std::string trim_end(std::string_view anchor, std::string_view value, std::string_view source);
/// The mirror image: without its leading "^" when something stands before.
std::string trim_start(std::string_view anchor, std::string_view value, std::string_view source);

/// The text with every occurrence of `from` replaced.
std::string replace_all(std::string_view text, std::string_view from, std::string_view to);

/// The pieces before and after the only occurrence of `at`; std::invalid_argument unless it stands there once.
std::pair<std::string_view, std::string_view> split_at(std::string_view text, std::string_view at);

}  // namespace heron::anchor_text
