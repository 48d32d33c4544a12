#pragma once

#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "runtime/class.h"

namespace heron::safe_access {

// Questions to an object from outside, which may do anything when it is asked: a failure is logged and counts as
// no answer. Each question is asked by itself: an operation is looked up once to see whether it is there and once more
// to be taken.

/// What `function` returns, or None if it fails.
template <class F>
py::Object call(F&& function) {
  try {
    return function();
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    return py::Object::none();
  }
}

/// The same; `failure` is then what it failed with, and none if it did not.
template <class F>
py::Object call(F&& function, py::Object& failure) {
  failure = py::Object();
  try {
    return function();
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    failure = kept(error);
    return py::Object::none();
  }
}

/// Has the object an attribute of this name?
bool has(const py::Object& object, const py::Name& name);

/// The attribute of this name, or None.
py::Object attribute(const py::Object& object, const py::Name& name);

/// The operation of this name, or none if it cannot be called.
py::Object operation(const py::Object& object, const py::Name& name);

}  // namespace heron::safe_access
