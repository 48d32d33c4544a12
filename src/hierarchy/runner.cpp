#include "hierarchy/runner.h"

namespace heron {

std::vector<Pairing> Runner::layer(std::vector<ObjectId> objects, const LayerPlan& layer) {
  LayerShelf shelf(std::move(objects));
  return search_.run(shelf, layer, true);
}

bool Runner::match(std::vector<ObjectId> objects, const LayerPlan& top) {
  // A pattern may be deeper than the stack, so what is left to do stands on one of our own: what was found in a
  // layer, and how far its subtrees are done.
  struct Level {
    std::vector<Pairing> found;
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  const auto enter = [&](std::vector<ObjectId> siblings, const LayerPlan& scopes) {
    std::vector<Pairing> found = layer(std::move(siblings), scopes);
    if (found.empty()) return scopes.optional();
    levels.push_back({std::move(found)});
    return true;
  };
  if (!enter(std::move(objects), top)) return false;
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next == level.found.size()) {
      levels.pop_back();
      continue;
    }
    const Pairing pairing = level.found[level.next++];
    if (is_deadlock(pairing)) continue;
    if (!enter(objects_.children(pairing.object), *pairing.scope->children)) return false;
  }
  return true;
}

bool Runner::is_valid(std::vector<ObjectId> objects) {
  find_anchors();
  return match(std::move(objects), plan_.top());
}

std::vector<Pairing> Runner::mask(LayerShelf& shelf) {
  find_anchors();
  return search_.run(shelf, plan_.top(), false);
}

}  // namespace heron
