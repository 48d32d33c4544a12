#pragma once

#include <memory>
#include <optional>

#include "runtime/containers.h"

namespace heron {

/// The buckets of a buffer: one Python list, which others may hold.
class BucketList {
 public:
  /// The list as it is now.
  const py::List& list() const;
  /// Takes out the first bucket that is equal; ValueError if there is none.
  void remove(const py::Object& bucket);
  /// Begins a new list. The old one stays with those who hold it.
  void renew();

  /// While one lives, many buckets leave, mostly in the order of the list. What left is then taken out as soon as
  /// somebody can see the list, and a search goes on where the last one ended: to take out half of 100,000 buckets is
  /// one walk over them, where it would be one for each, minutes in all. A bucket that changes meanwhile counts as it
  /// was when the walk passed it.
  class Clearance {
   public:
    explicit Clearance(BucketList& buckets) : buckets_(buckets) { ++buckets_.clearances_; }
    ~Clearance() { --buckets_.clearances_; }
    Clearance(const Clearance&) = delete;
    Clearance& operator=(const Clearance&) = delete;

   private:
    BucketList& buckets_;
  };

  template <class V>
  void members(V& visit) {
    visit(list_);
  }

 private:
  struct Walk;  // over the list, from the last time that it was complete

  bool leave(const py::Object& bucket);
  std::optional<Py_ssize_t> find_passed(const std::shared_ptr<Walk>& walk, Py_hash_t mark,
                                        const py::Object& bucket) const;
  std::optional<Py_ssize_t> find_ahead(const std::shared_ptr<Walk>& walk, std::optional<Py_hash_t> mark,
                                       const py::Object& bucket) const;
  std::optional<bool> is_at(const std::shared_ptr<Walk>& walk, Py_ssize_t position, const py::Object& bucket) const;

  py::List list_;
  mutable std::shared_ptr<Walk> walk_;
  int clearances_ = 0;
};

}  // namespace heron
