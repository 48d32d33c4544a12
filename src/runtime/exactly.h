#pragma once

#include "runtime/instance.h"

namespace heron::py {

// An object that is exactly of one of our classes, and not of a derived one, does what C++ says. It need not be asked
// by name then, which is a tenth of the cost where a run asks a hundred thousand times.

/// The object as one of exactly our class T, for its fields and its elements; else none.
template <class T>
Ref<T> exactly(const Object& object) {
  return Py_TYPE(object.or_none()) == TypeOf<T>::type ? Ref<T>(object) : Ref<T>();
}

/// The same for an operation of this name: none also for an object that has an attribute of its own in its place.
template <class T>
Ref<T> exactly(const Object& object, const Name& operation) {
  Ref<T> ours = exactly<T>(object);
  const Py_ssize_t dict_at = TypeOf<T>::layout.dict_at;
  if (!ours || dict_at == 0) return ours;
  const Object own = Object::borrow(*reinterpret_cast<PyObject**>(reinterpret_cast<char*>(ours.get()) + dict_at));
  return !own || checked(PyDict_Contains(own.get(), operation.get())) == 0 ? ours : Ref<T>();
}

}  // namespace heron::py
