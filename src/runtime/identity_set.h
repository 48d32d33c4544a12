#pragma once

#include <unordered_set>
#include <vector>

#include "runtime/object.h"

namespace heron::py {

/// Objects told apart by identity. They are held, so that none made later can take the place of one of them.
class IdentitySet {
 public:
  bool contains(const Object& object) const { return known_.contains(object.get()); }
  void add(const Object& object) {
    if (known_.insert(object.get()).second) held_.push_back(object);
  }

 private:
  std::unordered_set<PyObject*> known_;
  std::vector<Object> held_;
};

}  // namespace heron::py
