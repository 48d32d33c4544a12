#include "scene/selection_scope.h"

#include <optional>

namespace heron {
namespace {

/// An operation that stands in the object's class, where Python looks for those of a scope.
py::Object special(const py::Object& object, const py::Name& name) {
  static const auto* missing = new py::Object(py::Object::steal(PyList_New(0)));  // nothing else is this object
  const py::Object type = py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(object.get())));
  py::Object operation = type.attr(name, *missing);
  if (operation.is(*missing))
    py::raise_type("selection_manager() must give a scope to enter, not " + object.type_name());
  return operation;
}

/// Does the scope, which is left with this error, swallow it?
bool swallows(const py::Object& scope, const py::Object& leave, const py::Error& error) {
  const auto type = py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(error.value().get())));
  py::Object trace;
  if (PyObject* found = PyException_GetTraceback(error.value().get())) trace = py::Object::steal(found);
  return leave(scope, type, error.value(), trace).truth();
}

}  // namespace

void with_selection(const py::Object& op, const std::function<void()>& work) {
  static const py::Name kSelectionManager("selection_manager"), kEnter("__enter__"), kExit("__exit__");
  const py::Object scope = op.call(kSelectionManager);
  const py::Object enter = special(scope, kEnter), leave = special(scope, kExit);
  enter(scope);
  std::optional<py::Error> raised;
  try {
    work();
  } catch (...) {
    raised = py::current_error();
  }
  if (!raised) {
    leave(scope, py::Object::none(), py::Object::none(), py::Object::none());
  } else if (!swallows(scope, leave, *raised)) {
    throw py::Error(*raised);
  }
}

}  // namespace heron
