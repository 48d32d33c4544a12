#pragma once

#include <map>
#include <optional>
#include <vector>

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

  /// While one lives, many buckets leave, and what leaves is taken out only when somebody looks at the list. To take
  /// out half of 100,000 buckets is then one walk over them, where it would be one for each, minutes in all. A bucket
  /// that changes meanwhile counts as it was when the walk passed it.
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
  /// From the front of the list, as far as the buckets that leave are to be found.
  struct Walk {
    std::vector<Py_ssize_t> left;
    std::multimap<std::size_t, Py_ssize_t> staying;  // hash to position of what was passed, in order
    Py_ssize_t next = 0;
  };

  std::optional<Py_ssize_t> find_first(const py::Object& bucket);

  py::List list_;
  mutable Walk walk_;
  int clearances_ = 0;
};

}  // namespace heron
