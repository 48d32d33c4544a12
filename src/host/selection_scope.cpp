#include "host/selection_scope.h"

#include <optional>

namespace heron {
namespace {

/// An operation of a scope; its class must have it, as `with` wants it.
py::Object special(const py::Object& scope, const py::Name& name) {
  const py::Object type = py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(scope.get())));
  if (PyObject_HasAttr(type.get(), name.get()) == 0) {
    py::raise_type("selection_manager() must give a scope to enter, not " + scope.type_name());
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

void with_selection(const py::Object& op, const std::function<void()>& work) {
  static const py::Name kSelectionManager("selection_manager"), kEnter("__enter__"), kExit("__exit__");
  const py::Object scope = op.call(kSelectionManager);
  const py::Object enter = special(scope, kEnter), leave = special(scope, kExit);
  enter();
  std::optional<py::Error> raised;
  try {
    work();
  } catch (...) {
    raised = py::current_error();
  }
  if (!raised) {
    leave(py::Object::none(), py::Object::none(), py::Object::none());
  } else if (!swallows(leave, *raised)) {
    throw py::Error(*raised);
  }
}

}  // namespace heron
