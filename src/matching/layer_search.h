#pragma once

#include <optional>
#include <vector>

#include "matching/layer_shelf.h"
#include "matching/plan.h"
#include "matching/rule_book.h"

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
  /// `exact` every object must be taken. The list is the search's own, until the next run.
  const std::vector<Pairing>& run(LayerShelf& shelf, const LayerPlan& layer, bool exact);

  // The same step by step.
  void load(LayerShelf& shelf, const LayerPlan& layer, bool exact);
  void backup_state() { backup_ = logic_.state(); }
  void reset_state() { put_back(backup_); }
  void make_guess();
  bool wrong_guess() const;
  const std::vector<Pairing>& response();

  /// Does this object fit this scope? What its name holds is captured even if it fails only by having children.
  bool scope_match(ObjectId object, const ScopePlan& scope);

  /// Were captures put in place of the working ones since this was made?
  bool applied() const { return applied_; }
  const AnchorState& backup() const { return backup_; }
  void set_backup(AnchorState state) { backup_ = std::move(state); }
  /// What the scopes of this slot took; nothing at all if they were not reached.
  const std::vector<LayerShelf::Position>* taken(std::size_t slot) const {
    return slots_[slot].reached ? &slots_[slot].taken : nullptr;
  }

 private:
  struct Slot {
    bool reached = false;
    std::vector<LayerShelf::Position> taken;
  };

  void put_back(const AnchorState& state) {
    logic_.state() = state;
    applied_ = true;
  }
  std::size_t count(std::size_t slot) const { return slots_[slot].reached ? slots_[slot].taken.size() : 0; }
  void take_matching(const ScopePlan& scope, std::size_t index, AnchorState& shared);

  AnchorLogic& logic_;
  Objects& objects_;
  RuleBook& rules_;
  LayerShelf* shelf_ = nullptr;
  const LayerPlan* layer_ = nullptr;
  bool exact_ = true, applied_ = false;
  AnchorState backup_;
  // A scan runs through a hundred thousand small layers: what a run fills is kept for the next one, as allocating it
  // anew would be a fifth of a scan's time.
  std::vector<Slot> slots_;
  std::vector<LayerShelf::Position> taken_;  // by the scope that is asked now
  std::vector<Pairing> pairings_;
};

}  // namespace heron
