#pragma once

#include "runtime/object.h"

namespace heron::py {

/// Lets the garbage collector start by itself more seldom, for work that makes many objects which stay, between calls
/// of code from outside that may leave garbage: without it half the time of a validation goes by in walks over results.
/// `CollectionPause` is for work that calls no such code.
class CollectionEase {
 public:
  CollectionEase();
  ~CollectionEase();
  CollectionEase(const CollectionEase&) = delete;
  CollectionEase& operator=(const CollectionEase&) = delete;

 private:
  Object before_;  ///< The thresholds as they were.
};

}  // namespace heron::py
