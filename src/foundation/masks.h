#pragma once

#include "runtime/class.h"

namespace heron {

/// The sets of choices from which a front-end fills its filters, without those that the host cannot produce.
class Mask {
 public:
  void init(const py::Object& type_mapping);

  py::Object mapping, ghost, type, result;

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&mapping, &ghost, &type, &result}) visit(*field);
  }
};

void expose_masks(const py::Scope& module);

}  // namespace heron
