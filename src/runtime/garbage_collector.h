#pragma once

#include "runtime/object.h"

namespace heron::py {

/// Keeps the garbage collector from starting by itself, for work that makes many objects which all stay: it would walk
/// over them again and again, at up to 60 % of a scan's time.
class GarbageCollectorPause {
 public:
  GarbageCollectorPause() : was_on_(PyGC_Disable() != 0) {}
  ~GarbageCollectorPause() {
    if (was_on_ && !is_shut_out()) PyGC_Enable();
  }
  GarbageCollectorPause(const GarbageCollectorPause&) = delete;
  GarbageCollectorPause& operator=(const GarbageCollectorPause&) = delete;

 private:
  bool was_on_;
};

/// Lets the garbage collector start by itself more seldom, for work that makes many objects which stay, between calls
/// of code from outside that may leave garbage: without it half the time of a validation goes by in walks over results.
/// `GarbageCollectorPause` is for work that calls no such code.
class GarbageCollectorSlowdown {
 public:
  GarbageCollectorSlowdown();
  ~GarbageCollectorSlowdown();
  GarbageCollectorSlowdown(const GarbageCollectorSlowdown&) = delete;
  GarbageCollectorSlowdown& operator=(const GarbageCollectorSlowdown&) = delete;

 private:
  Object before_;  ///< The thresholds as they were.
};

}  // namespace heron::py
