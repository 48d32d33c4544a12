#pragma once

#include <span>
#include <vector>

#include "hierarchy/layer_search.h"

namespace heron {

/// Compares whole trees of objects with a whole pattern, layer by layer.
class Runner {
 public:
  Runner(AnchorLogic& logic, Objects& objects, const PatternPlan& plan)
      : logic_(logic), objects_(objects), plan_(plan), rules_(logic, objects), search_(logic, objects, rules_) {}

  /// Drops all captures; the definitions are the pattern's.
  void find_anchors() { logic_.state() = {plan_.definitions, nullptr}; }

  /// What each scope of a layer takes of these objects, all of which must be taken.
  std::vector<Pairing> layer(std::vector<ObjectId> objects, const LayerPlan& layer);

  /// Do the objects, with all below them, fit the layer? Captures stand as they are found.
  bool match(std::vector<ObjectId> objects, const LayerPlan& layer);
  /// The same against the pattern's top, without any captures before.
  bool is_valid(std::vector<ObjectId> objects);
  /// What the pattern's top layer takes of a shelf, without any captures before.
  std::vector<Pairing> mask(LayerShelf& shelf);

  /// Is there nothing below the object and nothing wanted below it?
  bool is_deadlock(const Pairing& pairing) const {
    return !objects_.view(pairing.object).has_children && pairing.scope->children->scopes.empty();
  }

  Objects& objects() { return objects_; }
  const PatternPlan& plan() const { return plan_; }

 private:
  AnchorLogic& logic_;
  Objects& objects_;
  const PatternPlan& plan_;
  RuleBook rules_;
  LayerSearch search_;
};

}  // namespace heron
