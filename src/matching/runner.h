#pragma once

#include <span>
#include <vector>

#include "matching/layer_search.h"

namespace heron {

/// What a run found: its layers, each object of one with the layer found below it.
struct MatchTree {
  static constexpr std::size_t kNothing = static_cast<std::size_t>(-1);

  struct Node {
    Pairing pairing;
    std::size_t below = kNothing;  ///< Number of a layer.
  };
  struct Layer {
    std::size_t begin, end;  ///< Of its nodes.
  };
  std::vector<Node> nodes;
  std::vector<Layer> layers;  ///< The first is the top; none if it is empty.
};

/// Compares whole trees of objects with a whole pattern, layer by layer.
class Runner {
 public:
  Runner(AnchorLogic& logic, Objects& objects, const PatternPlan& plan)
      : logic_(logic), objects_(objects), plan_(plan), rules_(logic, objects), search_(logic, objects, rules_) {}

  /// Drops all captures; the definitions are the pattern's.
  void find_anchors() { logic_.state() = {plan_.definitions, nullptr}; }

  // What comes back is the runner's own, until the next operation.

  /// The objects, with all below them, if they fit the layer; else none. Captures stand as they are found.
  const MatchTree* match(const std::vector<ObjectId>& objects, const LayerPlan& layer) {
    return walk(objects, layer, true) ? &tree_ : nullptr;
  }
  /// What fits of the objects and all below them: where a layer does not fit, nothing stands.
  const MatchTree& find(const std::vector<ObjectId>& objects, const LayerPlan& layer) {
    walk(objects, layer, false);
    return tree_;
  }
  /// `match` with the pattern's top, without any captures before.
  const MatchTree* match_whole(const std::vector<ObjectId>& objects);
  /// Does the layer match, where nobody wants to know what? An object that stands in several places is looked at once
  /// for each layer, if what was captured makes no difference.
  bool fits(const std::vector<ObjectId>& objects, const LayerPlan& layer);
  /// What the pattern's top layer takes of a shelf, without any captures before.
  const std::vector<Pairing>& mask(LayerShelf& shelf);

  const LayerSearch& search() const { return search_; }

 private:
  struct Level {
    std::size_t layer, next;
  };

  struct Passed {
    const LayerPlan* layer = nullptr;
    std::size_t walk = 0;
  };

  bool walk(const std::vector<ObjectId>& objects, const LayerPlan& top, bool strict, bool once = false);
  bool is_known(const Pairing& pairing);
  bool enter(const std::vector<ObjectId>& objects, const LayerPlan& scopes, bool strict);

  AnchorLogic& logic_;
  Objects& objects_;
  const PatternPlan& plan_;
  RuleBook rules_;
  LayerSearch search_;
  // Kept from one walk to the next, as in the search.
  MatchTree tree_;
  std::vector<Level> levels_;
  LayerShelf shelf_;
  std::vector<ObjectId> children_;
  bool once_ = false;          // is one look at an object enough in this walk?
  std::size_t walk_ = 0;       // its number
  PagedTable<Passed> passed_;  // the last layer that the objects below an object were compared with
};

}  // namespace heron
