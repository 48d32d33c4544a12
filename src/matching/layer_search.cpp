#include "matching/layer_search.h"

namespace heron {

const std::vector<Pairing>& LayerSearch::run(LayerShelf& shelf, const LayerPlan& layer, bool exact) {
  load(shelf, layer, exact);
  backup_state();
  make_guess();
  if (wrong_guess()) {
    reset_state();
    pairings_.clear();
    return pairings_;
  }
  return response();
}

void LayerSearch::load(LayerShelf& shelf, const LayerPlan& layer, bool exact) {
  shelf_ = &shelf;
  layer_ = &layer;
  exact_ = exact;
  if (slots_.size() < layer.scopes.size()) slots_.resize(layer.scopes.size());
  for (std::size_t slot = 0; slot < layer.scopes.size(); ++slot) slots_[slot].reached = false;
  shelf.begin_guess();
}

void LayerSearch::make_guess() {
  AnchorState shared = logic_.state();
  for (std::size_t i = 0; i < layer_->scopes.size(); ++i) {
    const ScopePlan& scope = layer_->scopes[i];
    take_matching(scope, i, shared);
    if (static_cast<long long>(taken_.size()) < scope.rule->range.minimum) {
      reset_state();
      return;
    }
    put_back(shared);
    for (const LayerShelf::Position position : taken_) shelf_->take(position);
    slots_[scope.slot].reached = true;
    std::swap(slots_[scope.slot].taken, taken_);
  }
}

void LayerSearch::take_matching(const ScopePlan& scope, std::size_t index, AnchorState& shared) {
  using Wish = LayerShelf::Wish;
  taken_.clear();
  const bool fixed = rules_.is_fixed(*scope.rule);
  const auto visit = [&](LayerShelf::Position position) {
    if (scope_match(shelf_->object(position), scope)) {
      // One too many is tested all the same; what it captured goes when `shared` comes back.
      if (static_cast<long long>(taken_.size()) >= scope.rule->range.maximum) return Wish::kStop;
      taken_.push_back(position);
      shared = logic_.state();  // holds all of `shared` and what came since: a state only grows within a scope
      return Wish::kStay;
    }
    // A matching name under a refused object is captured again each time.
    return fixed && !rules_.captures(*scope.rule) ? Wish::kDismiss : Wish::kStay;
  };
  if (fixed) {
    shelf_->walk(index, visit);
  } else {
    shelf_->walk_all(visit);
  }
}

bool LayerSearch::scope_match(ObjectId object, const ScopePlan& scope) {
  if (!rules_.matches(*scope.rule, object)) return false;
  return !scope.leaf || !objects_.view(object).has_children;
}

bool LayerSearch::wrong_guess() const {
  for (const ScopePlan& scope : layer_->scopes) {
    if (!scope.rule->range.allows(count(scope.slot))) return true;
  }
  return exact_ && !shelf_->all_taken();
}

const std::vector<Pairing>& LayerSearch::response() {
  pairings_.clear();
  for (const ScopePlan& scope : layer_->scopes) {
    if (!slots_[scope.slot].reached) continue;
    for (const LayerShelf::Position position : slots_[scope.slot].taken) {
      pairings_.push_back({position, shelf_->object(position), &scope});
    }
  }
  return pairings_;
}

}  // namespace heron
