#include "matching/anchor_text.h"

#include <algorithm>
#include <stdexcept>

#include "matching/utf8.h"

namespace heron::anchor_text {
namespace {

bool is_separator(char c) { return c == '/' || c == '|' || c == '\\'; }

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

std::size_t shared_start(std::string_view a, std::string_view b) {
  const auto limit = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size()));
  auto shared = static_cast<std::size_t>(std::mismatch(a.begin(), a.begin() + limit, b.begin()).first - a.begin());
  const auto inside = [&](std::string_view text) { return shared < text.size() && utf8::continues(text[shared]); };
  while (shared > 0 && (inside(a) || inside(b))) --shared;
  return shared;
}

std::size_t count_characters(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), utf8::continues));
}

std::string_view Parents::next() {
  const auto begin = std::find_if_not(rest_.begin(), rest_.end(), is_separator);
  const auto end = std::find_if(begin, rest_.end(), is_separator);
  const auto after = std::find_if_not(end, rest_.end(), is_separator);
  if (after == rest_.end()) return {};  // the object's own name
  const std::string_view name(begin, end);
  rest_ = {after, rest_.end()};
  return name;
}

std::string_view directory(std::string_view path) {
  while (!path.empty() && is_separator(path.back())) path.remove_suffix(1);
  while (!path.empty() && !is_separator(path.back())) path.remove_suffix(1);
  return path;
}

bool same_scope(std::string_view scope, std::string_view path) {
  Parents theirs(scope), ours(path);
  for (std::string_view name = theirs.next(); !name.empty(); name = theirs.next()) {
    if (name != ours.next()) return false;
  }
  return true;
}

}  // namespace heron::anchor_text
