#include "hierarchy/capture_index.h"

#include <algorithm>
#include <iterator>

#include "hierarchy/anchor_text.h"

namespace heron {

template <class V>
bool CaptureIndex::walk(std::string_view path, V&& visit) const {
  Folder folder = kTop;
  visit(folder);
  for (const std::string_view name : anchor_text::parents(path)) {
    const auto step = folders_.find(StepView{folder, name});
    if (step == folders_.end()) return false;
    folder = step->second;
    visit(folder);
  }
  return true;
}

void CaptureIndex::follow(const CaptureChain& chain) {
  if (!chain && !followed_.empty()) {
    // A new run begins. New tables and not cleared ones: clearing costs what the largest run before has cost.
    *this = CaptureIndex();
    return;
  }
  const std::size_t length = chain ? chain->length : 0;
  std::vector<CaptureChain> fresh;
  const auto drop_last = [&] {
    remove(*followed_.back());
    followed_.pop_back();
  };
  while (followed_.size() > length) drop_last();
  CaptureChain link = chain;
  while (link && link->length > followed_.size()) {
    fresh.push_back(link);
    link = link->before;
  }
  while (link && link != followed_.back()) {
    drop_last();
    fresh.push_back(link);
    link = link->before;
  }
  while (!fresh.empty()) {
    insert(*fresh.back());
    followed_.push_back(std::move(fresh.back()));
    fresh.pop_back();
  }
}

bool CaptureIndex::contains(std::size_t key, const Capture& capture) const {
  Folder own = kTop;
  if (!walk(capture.scope, [&](Folder folder) { own = folder; })) return false;
  const auto shelf = shelves_.find(place(key, own));
  return shelf != shelves_.end() && shelf->second.contains(&capture);
}

const Capture* CaptureIndex::closest(std::size_t key, std::string_view path) const {
  const Capture* best = nullptr;
  std::size_t best_shared = 0;
  const auto consider = [&](const Capture* capture, std::size_t shared) {
    if (best == nullptr || shared > best_shared || (shared == best_shared && Order()(capture, best))) {
      best = capture;
      best_shared = shared;
    }
  };
  const auto look_into = [&](Folder folder) {
    const auto found = shelves_.find(place(key, folder));
    if (found == shelves_.end() || found->second.empty()) return;
    const Shelf& shelf = found->second;
    const auto next = shelf.lower_bound(path);
    std::size_t shared = 0;
    if (next != shelf.end()) shared = anchor_text::shared_start((*next)->scope, path);
    if (next != shelf.begin()) {
      shared = std::max(shared, anchor_text::shared_start((*std::prev(next))->scope, path));
    }
    consider(*shelf.lower_bound(path.substr(0, shared)), shared);
  };
  walk(path, look_into);  // further down than it gets, nothing was captured
  return best;
}

CaptureIndex::Folder CaptureIndex::make_folder(std::string_view path) {
  Folder folder = kTop;
  for (const std::string_view name : anchor_text::parents(path)) {
    const auto step = folders_.find(StepView{folder, name});
    folder =
        step != folders_.end()
            ? step->second
            : folders_.emplace(Step{folder, std::string(name)}, static_cast<Folder>(folders_.size() + 1)).first->second;
  }
  return folder;
}

void CaptureIndex::insert(const CaptureLink& link) {
  if (link.capture.text.empty()) return;  // stands for nothing, so it is never the closest
  shelves_[place(link.key, make_folder(link.capture.scope))].insert(&link.capture);
}

void CaptureIndex::remove(const CaptureLink& link) {
  const auto shelf = shelves_.find(place(link.key, make_folder(link.capture.scope)));
  if (shelf == shelves_.end()) return;
  shelf->second.erase(&link.capture);
  if (shelf->second.empty()) shelves_.erase(shelf);
}

}  // namespace heron
