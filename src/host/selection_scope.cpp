#include "host/selection_scope.h"

#include <optional>

namespace heron {
namespace {

/// An operation of a scope; its class must have it, as `with` wants it.
py::Object special(const py::Object& scope, const char* operation, const py::Name& name) {
  const py::Object type = py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(scope.get())));
  if (PyObject_HasAttr(type.get(), name.get()) == 0) {
    py::raise_type("`" + std::string(operation) + "` gave " + scope.type_name() + ", a context manager is expected");
  }
  return scope.attr(name);
}

/// Does the scope, which is left with this error, swallow it?
bool swallows(const py::Object& leave, const py::Error& error) {
  const auto type = py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(error.value().get())));
  py::Object trace;
  if (PyObject* found = PyException_GetTraceback(error.value().get())) trace = py::Object::steal(found);
  return leave(type, error.value(), trace).truth();
}

}  // namespace

void run_in_scope(const py::Object& scope, const char* operation, const std::function<void()>& work) {
  static const py::Name kEnter("__enter__"), kExit("__exit__");
  const py::Object enter = special(scope, operation, kEnter), leave = special(scope, operation, kExit);
  enter();
  std::optional<py::Error> raised;
  try {
    work();
  } catch (const std::exception&) {
    raised = py::current_error();
  }
  if (!raised) {
    leave(py::Object::none(), py::Object::none(), py::Object::none());
  } else if (!swallows(leave, *raised)) {
    throw py::Error(*raised);
  }
}

}  // namespace heron
