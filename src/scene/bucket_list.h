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

  /// While one lives, many buckets leave. To take out half of 100,000 buckets is then one walk over them, where it
  /// would be one for each, minutes in all. What leaves is taken out when somebody looks at the list, or at once where
  /// Python holds it. A bucket that changes meanwhile, or stands in another's place, counts as it was when the walk
  /// passed it.
  class Clearance {
   public:
    explicit Clearance(BucketList& buckets) : buckets_(buckets) { ++buckets_.clearances_; }
    ~Clearance() {
      if (--buckets_.clearances_ == 0 && buckets_.walk_.at_once) buckets_.walk_ = {};
    }
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
  /// From the front of the list, as far as the buckets that leave are to be found. Positions are those at its begin.
  struct Walk {
    std::vector<py::Object> entries;  // as they were
    std::vector<Py_ssize_t> left;
    std::multimap<std::size_t, Py_ssize_t> staying;  // hash to position of what was passed, in order
    Py_ssize_t next = 0;
    bool at_once = false;          // is what leaves taken out at once?
    std::vector<Py_ssize_t> sums;  // then: how many have left, in the manner of a binary indexed tree
  };

  void begin_walk();
  std::optional<Py_ssize_t> find_first(const py::Object& bucket);
  bool take_out(Py_ssize_t position);

  py::List list_;
  mutable Walk walk_;
  int clearances_ = 0;
};

}  // namespace heron
