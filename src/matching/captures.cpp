#include "matching/captures.h"

#include <algorithm>
#include <stdexcept>

#include "matching/anchor_text.h"

namespace heron {

Definition::Definition(std::string_view text) : text_(text) {
  if (anchor_text::has_definition(text)) unpacked_ = anchor_text::unpack(text);
}

const anchor_text::Unpacked& Definition::unpacked() const {
  if (unpacked_) return *unpacked_;
  anchor_text::unpack(text_);  // throws what is wrong with it
  throw std::invalid_argument("no definition: " + text_);
}

std::size_t Definitions::add(std::string_view text) {
  const auto [found, added] = keys_.try_emplace(std::string(text), all_.size());
  if (added) all_.emplace_back(text);
  return found->second;
}

std::optional<std::size_t> Definitions::find(const std::string& text) const {
  const auto found = keys_.find(text);
  if (found == keys_.end()) return std::nullopt;
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
    if (link->key < tables.size()) tables[link->key].push_back(link->capture);
  }
  for (auto& table : tables) std::sort(table.begin(), table.end());
  return tables;
}

}  // namespace heron
