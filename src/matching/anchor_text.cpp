#include "matching/anchor_text.h"

#include <algorithm>
#include <stdexcept>

namespace heron::anchor_text {
namespace {

// The runtime's own words for an unpacking that fails.
[[noreturn]] void wrong_number_of_pieces(std::size_t pieces) {
  if (pieces > 2) throw std::invalid_argument("too many values to unpack (expected 2)");
  throw std::invalid_argument("not enough values to unpack (expected 2, got 1)");
}

}  // namespace

std::vector<std::string_view> find_all(std::string_view text) {
  std::vector<std::string_view> anchors;
  for (std::size_t open = text.find('<'); open != std::string_view::npos; open = text.find('<', open)) {
    const std::size_t close = text.find_first_of(">\n", open);
    if (close == std::string_view::npos) break;
    if (text[close] == '>') anchors.push_back(text.substr(open, close + 1 - open));
    open = close + 1;  // an anchor does not cross a line, and no "<" before the line's end could
  }
  return anchors;
}

bool has_definition(std::string_view text) { return std::count(text.begin(), text.end(), ':') == 1; }

std::vector<std::string_view> find_definitions(std::string_view text) {
  std::vector<std::string_view> anchors = find_all(text);
  std::erase_if(anchors, [](std::string_view anchor) { return !has_definition(anchor); });
  return anchors;
}

Unpacked unpack(std::string_view definition) {
  std::string bare;
  std::copy_if(definition.begin(), definition.end(), std::back_inserter(bare),
               [](char c) { return c != '<' && c != '>'; });
  const auto [name, value] = split_at(bare, ":");
  return {"<" + std::string(name) + ">", std::string(value)};
}

std::string trim_end(std::string_view anchor, std::string_view value, std::string_view source) {
  if (value.ends_with('$') && !split_at(source, anchor).second.empty()) value.remove_suffix(1);
  return std::string(value);
}

std::string trim_start(std::string_view anchor, std::string_view value, std::string_view source) {
  if (value.starts_with('^') && !split_at(source, anchor).first.empty()) value.remove_prefix(1);
  return std::string(value);
}

std::string replace_all(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  std::size_t begin = 0;
  for (std::size_t at = text.find(from); at != std::string_view::npos; at = text.find(from, begin)) {
    result.append(text, begin, at - begin).append(to);
    begin = at + from.size();
  }
  return result.append(text, begin);
}

std::pair<std::string_view, std::string_view> split_at(std::string_view text, std::string_view at) {
  if (at.empty()) throw std::invalid_argument("empty separator");
  const std::size_t first = text.find(at);
  if (first == std::string_view::npos) wrong_number_of_pieces(1);
  const std::string_view after = text.substr(first + at.size());
  if (after.find(at) != std::string_view::npos) wrong_number_of_pieces(3);
  return {text.substr(0, first), after};
}

}  // namespace heron::anchor_text
