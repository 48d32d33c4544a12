#include "hierarchy/captures.h"

#include <algorithm>

#include "hierarchy/anchor_text.h"

namespace heron {

std::size_t Definitions::add(std::string_view text) {
  const auto [found, added] = keys_.try_emplace(std::string(text), all_.size());
  if (added) {
    auto [usage, value] = anchor_text::unpack(text);
    all_.push_back({std::string(text), std::move(usage), std::move(value)});
  }
  return found->second;
}

void sort_by_closeness(std::vector<Capture>& captures, std::string_view path) {
  std::stable_sort(captures.begin(), captures.end(), [&](const Capture& a, const Capture& b) {
    return anchor_text::shared_start(a.scope, path) < anchor_text::shared_start(b.scope, path);
  });
  std::reverse(captures.begin(), captures.end());
}

// Dropped link by link: a long chain dropped by recursion would overflow the stack.
CaptureLink::~CaptureLink() {
  CaptureChain next = std::move(before);
  while (next && next.use_count() == 1) next = std::move(const_cast<CaptureLink&>(*next).before);
}

std::vector<std::vector<Capture>> AnchorState::tables() const {
  std::vector<std::vector<Capture>> tables(definitions->size());
  for (const CaptureLink* link = last.get(); link != nullptr; link = link->before.get()) {
    tables[link->key].push_back(link->capture);
  }
  for (auto& table : tables) std::sort(table.begin(), table.end());
  return tables;
}

}  // namespace heron
