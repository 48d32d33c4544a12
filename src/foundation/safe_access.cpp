#include "foundation/safe_access.h"

namespace heron::safe_access {

bool has(const py::Object& object, const py::Name& name) {
  static const auto* missing = new py::Object(py::List());  // an object that no attribute can be
  return call([&] { return py::to_python(!object.attr(name, *missing).is(*missing)); }).truth();
}

py::Object attribute(const py::Object& object, const py::Name& name) {
  return call([&] { return object.attr(name); });
}

py::Object operation(const py::Object& object, const py::Name& name) {
  if (!has(object, name)) return {};
  const py::Object function = attribute(object, name);
  return PyCallable_Check(function.get()) != 0 ? function : py::Object();
}

}  // namespace heron::safe_access
