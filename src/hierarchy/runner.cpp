#include "hierarchy/runner.h"

namespace heron {

std::optional<MatchTree> Runner::walk(std::vector<ObjectId> siblings, const LayerPlan& top, bool strict) {
  // A pattern may be deeper than the stack, so the layers that are under way stand on one of our own.
  struct Level {
    std::size_t layer, next;
  };
  MatchTree tree;
  std::vector<Level> levels;
  const auto enter = [&](std::vector<ObjectId> objects, const LayerPlan& scopes) {
    LayerShelf shelf(std::move(objects));
    const std::vector<Pairing> found = search_.run(shelf, scopes, true);
    if (found.empty()) return !strict || scopes.optional();
    levels.push_back({tree.layers.size(), 0});
    std::vector<MatchTree::Node>& layer = tree.layers.emplace_back();
    layer.reserve(found.size());
    for (const Pairing& pairing : found) layer.push_back({pairing});
    return true;
  };
  if (!enter(std::move(siblings), top)) return std::nullopt;
  while (!levels.empty()) {
    const std::size_t layer = levels.back().layer, position = levels.back().next++;
    if (position == tree.layers[layer].size()) {
      levels.pop_back();
      continue;
    }
    const Pairing pairing = tree.layers[layer][position].pairing;
    if (is_deadlock(pairing)) continue;
    const std::size_t below = tree.layers.size();
    if (!enter(objects_.children(pairing.object), *pairing.scope->children)) return std::nullopt;
    if (tree.layers.size() > below) tree.layers[layer][position].below = below;
  }
  return tree;
}

std::optional<MatchTree> Runner::match_whole(std::vector<ObjectId> objects) {
  find_anchors();
  return match(std::move(objects), plan_.top());
}

std::vector<Pairing> Runner::mask(LayerShelf& shelf) {
  find_anchors();
  return search_.run(shelf, plan_.top(), false);
}

}  // namespace heron
