#pragma once

#include "runtime/instance.h"

namespace heron {

/// A new instance of one of our classes, its constructor called.
template <class T, class... A>
py::Ref<T> made(const A&... arguments) {
  auto object = py::Ref<T>::make();
  object->init(arguments...);
  return object;
}

}  // namespace heron
