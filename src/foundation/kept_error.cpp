#include "foundation/kept_error.h"

#include <algorithm>

#include "runtime/containers.h"
#include "runtime/modules.h"

namespace heron {

namespace {

/// What a field of an exception holds, read past whatever its class says; none if it is empty.
py::Object field(PyObject* (*read)(PyObject*), const py::Object& exception) {
  PyObject* held = read(exception.get());
  return held != nullptr ? py::Object::steal(held) : py::Object();
}

}  // namespace

py::Object kept(const py::Error& error) {
  static const py::Name kClearFrames("clear_frames");
  std::vector<py::Object> chain{error.value()};
  const auto add = [&](const py::Object& other) {
    const bool is_known = std::ranges::any_of(chain, [&](const py::Object& one) { return one.is(other); });
    if (other && !is_known) chain.push_back(other);
  };
  for (std::size_t i = 0; i < chain.size(); ++i) {
    if (const auto trace = field(PyException_GetTraceback, chain[i])) py::modules::traceback.call(kClearFrames, trace);
    add(field(PyException_GetCause, chain[i]));
    add(field(PyException_GetContext, chain[i]));
  }
  return error.value();
}

py::Object kept(PyObject* type, const py::Object& message) { return py::Object::borrow(type)(message); }

}  // namespace heron
