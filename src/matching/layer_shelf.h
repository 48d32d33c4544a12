#pragma once

#include <numeric>
#include <vector>

#include "matching/objects.h"

namespace heron {

/// The objects of one layer, in order, while scopes take them.
///
/// Taking an object marks its position. A scan takes hierarchy after hierarchy from one shelf, so whatever a walk has
/// to skip it must not skip again and again: positions that are gone for good are jumped over, and a rule whose
/// answers never change remembers which positions it may still want.
class LayerShelf {
 public:
  using Position = std::uint32_t;

  LayerShelf() = default;
  explicit LayerShelf(std::vector<ObjectId> objects) : objects_(std::move(objects)) { lay_out(); }

  /// Puts other objects on the shelf, for one guess: then nothing is worth remembering.
  void fill_for_one_guess(const std::vector<ObjectId>& objects) {
    objects_ = objects;
    one_guess_ = true;
    lay_out();
  }

  ObjectId object(Position position) const { return objects_[position]; }

  /// Begins a guess: everything that is not gone is free again.
  void begin_guess() { ++guess_; }
  void take(Position position) { taken_[position] = guess_; }  ///< For this guess.
  void remove(Position position);                              ///< For good.
  std::vector<Position> free() const;                          ///< The positions that nobody took, in order.
  bool all_taken() const;

  enum class Wish { kStay, kDismiss, kStop };
  /// Walks over the free positions in order and asks `visit` of each: stay, stop the walk here, or never show this
  /// position to this scope again.
  template <class V>
  void walk(std::size_t scope, V&& visit);
  /// The same for a scope that dismisses nothing.
  template <class V>
  void walk_all(V&& visit);

 private:
  struct Cursor {
    std::vector<Position> wanted;  // positions seen and not dismissed
    std::size_t first = 0;         // those before are gone
    Position unseen = 0;
  };

  void lay_out() {
    next_.resize(objects_.size() + 1);
    std::iota(next_.begin(), next_.end(), Position{0});
    taken_.assign(objects_.size(), 0);
    guess_ = 1;
  }
  bool is_free(Position position) const { return next_[position] == position && taken_[position] != guess_; }
  bool is_gone(Position position) const { return next_[position] != position; }
  Position next_left(Position position);  // the first one from here on that is not gone

  std::vector<ObjectId> objects_;
  std::vector<Position> next_;        // itself, or a later position if gone
  std::vector<std::uint32_t> taken_;  // the last guess that took the object
  std::uint32_t guess_ = 1;
  bool one_guess_ = false;
  std::vector<Cursor> cursors_;  // by scope
};

inline void LayerShelf::remove(Position position) {
  if (!is_gone(position)) next_[position] = position + 1;
}

inline LayerShelf::Position LayerShelf::next_left(Position position) {
  Position left = position;
  while (left < objects_.size() && next_[left] != left) left = next_[left];
  while (position < left) {  // shorten the way for the next walk
    const Position step = next_[position];
    next_[position] = left;
    position = step;
  }
  return left;
}

inline std::vector<LayerShelf::Position> LayerShelf::free() const {
  std::vector<Position> free;
  for (Position position = 0; position < objects_.size(); ++position) {
    if (is_free(position)) free.push_back(position);
  }
  return free;
}

inline bool LayerShelf::all_taken() const {
  for (Position position = 0; position < objects_.size(); ++position) {
    if (is_free(position)) return false;
  }
  return true;
}

template <class V>
void LayerShelf::walk_all(V&& visit) {
  for (Position p = next_left(0); p < objects_.size(); p = next_left(p + 1)) {
    if (is_free(p) && visit(p) == Wish::kStop) return;
  }
}

template <class V>
void LayerShelf::walk(std::size_t scope, V&& visit) {
  if (one_guess_) return walk_all(visit);
  if (cursors_.size() <= scope) cursors_.resize(scope + 1);
  Cursor& cursor = cursors_[scope];
  while (cursor.first < cursor.wanted.size() && is_gone(cursor.wanted[cursor.first])) ++cursor.first;
  for (std::size_t i = cursor.first; i < cursor.wanted.size(); ++i) {
    if (is_free(cursor.wanted[i]) && visit(cursor.wanted[i]) == Wish::kStop) return;
  }
  for (Position p = next_left(cursor.unseen); p < objects_.size(); p = next_left(p + 1)) {
    cursor.unseen = p;  // where an error would interrupt the walk
    const Wish wish = is_free(p) ? visit(p) : Wish::kStay;
    if (wish != Wish::kDismiss) cursor.wanted.push_back(p);
    cursor.unseen = p + 1;
    if (wish == Wish::kStop) return;
  }
}

}  // namespace heron
