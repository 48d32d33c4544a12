#pragma once

#include <optional>
#include <vector>

#include "hierarchy/layer_shelf.h"
#include "hierarchy/plan.h"
#include "hierarchy/rule_book.h"

namespace heron {

/// An object, and the scope that took it.
struct Pairing {
  LayerShelf::Position position;
  ObjectId object;
  const ScopePlan* scope;
};

/// Compares a list of sibling objects with a list of sibling scopes, by one guess.
///
/// The objects are handed out to the scopes in the scopes' order: each takes what it matches, up to its maximum. Then
/// the guess is judged as a whole. A wrong one leaves no trace in the captures.
class LayerSearch {
 public:
  LayerSearch(AnchorLogic& logic, Objects& objects, RuleBook& rules)
      : logic_(logic), objects_(objects), rules_(rules) {}

  /// The whole search: what each scope took, in the order of the scopes, or nothing if the layer does not fit. With
  /// `exact` every object must be taken.
  std::vector<Pairing> run(LayerShelf& shelf, const LayerPlan& layer, bool exact);

  // The same step by step.
  void load(LayerShelf& shelf, const LayerPlan& layer, bool exact);
  void backup_state() { backup_ = logic_.state(); }
  void reset_state() { put_back(backup_); }
  void make_guess();
  bool wrong_guess() const;
  std::vector<Pairing> response() const;

  /// Does this object fit this scope? What its name holds is captured even if it fails only by having children.
  bool scope_match(ObjectId object, const ScopePlan& scope);

  /// Were captures put in place of the working ones since this was made?
  bool applied() const { return applied_; }
  const AnchorState& backup() const { return backup_; }
  void set_backup(AnchorState state) { backup_ = std::move(state); }
  /// What the scopes of this slot took; none if they were not reached.
  const std::optional<std::vector<LayerShelf::Position>>& taken(std::size_t slot) const { return guess_[slot]; }

 private:
  void put_back(const AnchorState& state) {
    logic_.state() = state;
    applied_ = true;
  }
  std::vector<LayerShelf::Position> take_matching(const ScopePlan& scope, std::size_t index, AnchorState& shared);

  AnchorLogic& logic_;
  Objects& objects_;
  RuleBook& rules_;
  LayerShelf* shelf_ = nullptr;
  const LayerPlan* layer_ = nullptr;
  bool exact_ = true, applied_ = false;
  AnchorState backup_;
  std::vector<std::optional<std::vector<LayerShelf::Position>>> guess_;  // by slot
};

}  // namespace heron
