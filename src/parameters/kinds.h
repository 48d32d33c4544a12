#pragma once

#include <initializer_list>

#include "runtime/instance.h"

namespace heron::kinds {

// What the constructors of inputs take. Anything else is a TypeError without a message.

void text(std::initializer_list<py::Object> values);
void integer(std::initializer_list<py::Object> values);  ///< A boolean is one.
void real(std::initializer_list<py::Object> values);     ///< An integer is none.
void boolean(const py::Object& value);

template <class T>
void instance(const py::Object& value) {
  if (!py::Ref<T>::holds(value)) py::raise_type();
}

}  // namespace heron::kinds
