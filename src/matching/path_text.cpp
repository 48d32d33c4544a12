#include "matching/path_text.h"

#include <algorithm>

#include "matching/utf8.h"

namespace heron::path_text {
namespace {

bool is_separator(char c) { return c == '/' || c == '|' || c == '\\'; }

}  // namespace

std::string_view short_name(std::string_view path) {
  const std::size_t separator = path.find_last_of("|/");
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::size_t shared_start(std::string_view a, std::string_view b) {
  const auto limit = static_cast<std::ptrdiff_t>(std::min(a.size(), b.size()));
  auto shared = static_cast<std::size_t>(std::mismatch(a.begin(), a.begin() + limit, b.begin()).first - a.begin());
  const auto inside = [&](std::string_view text) { return shared < text.size() && utf8::continues(text[shared]); };
  while (shared > 0 && (inside(a) || inside(b))) --shared;
  return shared;
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

}  // namespace heron::path_text
