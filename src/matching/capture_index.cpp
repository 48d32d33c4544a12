#include "matching/capture_index.h"

#include <algorithm>
#include <iterator>

#include "matching/path_text.h"

namespace heron {

const CaptureIndex::Way& CaptureIndex::find_way(std::string_view path, bool make) {
  const std::string_view directory = path_text::directory(path);
  if (!way_.folders.empty() && way_.directory == directory && (way_.complete || !make)) return way_;
  way_.directory = directory;
  way_.folders.assign(1, kTop);
  way_.complete = true;
  path_text::Parents parents(path);
  for (std::string_view name = parents.next(); !name.empty(); name = parents.next()) {
    auto step = folders_.find(StepView{way_.folders.back(), name});
    if (step == folders_.end()) {
      way_.complete = make;
      if (!make) break;
      const auto fresh = static_cast<Folder>(folders_.size() + 1);
      step = folders_.emplace(Step{way_.folders.back(), std::string(name)}, fresh).first;
    }
    way_.folders.push_back(step->second);
  }
  return way_;
}

void CaptureIndex::follow(const CaptureChain& chain) {
  if (!chain && !followed_.empty()) {
    // A new run begins. New tables and not cleared ones: clearing costs what the largest run before has cost.
    *this = CaptureIndex();
    return;
  }
  if (followed_.empty() ? !chain : followed_.back() == chain) return;
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

bool CaptureIndex::extend(const CaptureChain& link) {
  if (!insert(*link)) return false;
  followed_.push_back(link);
  return true;
}

const Capture* CaptureIndex::closest(std::size_t key, std::string_view path) {
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
    if (next != shelf.end()) shared = path_text::shared_start((*next)->scope, path);
    if (next != shelf.begin()) {
      shared = std::max(shared, path_text::shared_start((*std::prev(next))->scope, path));
    }
    consider(*shelf.lower_bound(path.substr(0, shared)), shared);
  };
  // Further down than the way goes, nothing was captured.
  for (const Folder folder : find_way(path, false).folders) look_into(folder);
  return best;
}

bool CaptureIndex::insert(const CaptureLink& link) {
  if (link.capture.text.empty()) return true;  // stands for nothing, so it is never the closest
  const Folder folder = find_way(link.capture.scope, true).folders.back();
  return shelves_[place(link.key, folder)].insert(&link.capture).second;
}

void CaptureIndex::remove(const CaptureLink& link) {
  const auto shelf = shelves_.find(place(link.key, find_way(link.capture.scope, true).folders.back()));
  if (shelf == shelves_.end()) return;
  shelf->second.erase(&link.capture);
  if (shelf->second.empty()) shelves_.erase(shelf);
}

}  // namespace heron
