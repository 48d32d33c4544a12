#pragma once

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "matching/captures.h"
#include "matching/path_text.h"

/// Which of several captures stands closest to an object: the one whose path shares the longest start with its path.
namespace heron::closeness {

/// Of equally close captures the one with the first path counts, then the one with the first text: the same on every
/// run, and an object's own ancestor comes before others whose paths only begin like it.
inline bool precedes(const Capture& a, const Capture& b) {
  const int order = a.scope.compare(b.scope);
  return order != 0 ? order < 0 : a.text < b.text;
}

/// Puts entries, each with a capture at a path that `path_of` tells, in order, the closest to `path` first. Of equally
/// close ones the one that stands later in the list comes first.
template <class E, class P>
void sort(std::vector<E>& entries, std::string_view path, P&& path_of) {
  std::vector<std::pair<std::size_t, std::size_t>> keys;  // shared start, position
  keys.reserve(entries.size());
  for (const E& entry : entries) keys.emplace_back(path_text::shared_start(path_of(entry), path), keys.size());
  std::sort(keys.rbegin(), keys.rend());
  std::vector<E> sorted;
  sorted.reserve(entries.size());
  for (const auto& [shared, position] : keys) sorted.push_back(std::move(entries[position]));
  entries = std::move(sorted);
}

/// The captures of a set, which has no order of its own, the closest first.
inline void sort_set(std::vector<Capture>& captures, std::string_view path) {
  std::sort(captures.begin(), captures.end(), [](const Capture& a, const Capture& b) { return precedes(b, a); });
  sort(captures, path, [](const Capture& capture) -> std::string_view { return capture.scope; });
}

}  // namespace heron::closeness
