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

/// The same of a set, which has no order of its own. Of each entry `capture_of` tells the capture.
template <class E, class C>
void sort_set(std::vector<E>& entries, std::string_view path, C&& capture_of) {
  const auto after = [&](const E& a, const E& b) { return precedes(capture_of(b), capture_of(a)); };
  std::sort(entries.begin(), entries.end(), after);
  sort(entries, path, [&](const E& entry) -> std::string_view { return capture_of(entry).scope; });
}

}  // namespace heron::closeness
