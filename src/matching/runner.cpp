#include "matching/runner.h"

namespace heron {

// A pattern may be deeper than the stack, so the layers that are under way stand on one of our own.
bool Runner::walk(const std::vector<ObjectId>& objects, const LayerPlan& top, bool strict, bool once) {
  tree_.nodes.clear();
  tree_.layers.clear();
  levels_.clear();
  ++walk_;
  once_ = once;
  if (!enter(objects, top, strict)) return false;
  while (!levels_.empty()) {
    Level& level = levels_.back();
    const std::size_t position = tree_.layers[level.layer].begin + level.next++;
    if (position == tree_.layers[level.layer].end) {
      levels_.pop_back();
      continue;
    }
    const Pairing pairing = tree_.nodes[position].pairing;
    if (is_deadlock(objects_.view(pairing.object).has_children, pairing.scope->leaf)) continue;
    if (once_ && is_known(pairing)) continue;
    const std::size_t below = tree_.layers.size();
    objects_.children(pairing.object, children_);
    if (!enter(children_, *pairing.scope->children, strict)) return false;
    if (tree_.layers.size() > below) tree_.nodes[position].below = below;
  }
  return true;
}

bool Runner::enter(const std::vector<ObjectId>& objects, const LayerPlan& scopes, bool strict) {
  shelf_.fill_for_one_guess(objects);
  const std::vector<Pairing>& found = search_.run(shelf_, scopes, true);
  if (found.empty()) return !strict || scopes.optional();
  levels_.push_back({tree_.layers.size(), 0});
  tree_.layers.push_back({tree_.nodes.size(), tree_.nodes.size() + found.size()});
  for (const Pairing& pairing : found) tree_.nodes.push_back({pairing});
  return true;
}

/// Has this walk compared the objects below this one with the same layer before?
bool Runner::is_known(const Pairing& pairing) {
  Passed& last = passed_[pairing.object];
  if (last.walk == walk_ && last.layer == pairing.scope->children) return true;
  last = {pairing.scope->children, walk_};
  return false;
}

bool Runner::fits(const std::vector<ObjectId>& objects, const LayerPlan& layer) {
  const Definitions& known = *logic_.state().definitions;
  return walk(objects, layer, true, plan_.definitions->size() == 0 && known.size() == 0);
}

const MatchTree* Runner::match_whole(const std::vector<ObjectId>& objects) {
  find_anchors();
  return match(objects, plan_.top());
}

const std::vector<Pairing>& Runner::mask(LayerShelf& shelf) {
  find_anchors();
  return search_.run(shelf, plan_.top(), false);
}

}  // namespace heron
