#include "foundation/assertions.h"

#include "foundation/errors.h"
#include "foundation/naming.h"

namespace heron {
namespace assertions {
namespace {

/// The value is borrowed. What holds others is kept while these are walked, as a signal may run Python code.
void walk(PyObject* value) {
  if (PyUnicode_Check(value)) {
    if (PyUnicode_AsUTF8AndSize(value, nullptr) == nullptr) throw py::Error();
    return;
  }
  const bool is_map = PyDict_Check(value);
  if (!is_map && !PyList_Check(value) && !PyTuple_Check(value)) return;
  const py::Object held = py::Object::borrow(value);
  const py::Depth depth(" while a document is cleaned");
  py::checked(PyErr_CheckSignals());  // a document that shares its parts may be walked for ever
  if (is_map) {
    PyObject *key = nullptr, *member = nullptr;
    for (Py_ssize_t position = 0; PyDict_Next(value, &position, &key, &member) != 0;) {
      if (PyUnicode_Check(key)) walk(key);
      walk(member);
    }
  } else {
    for (const py::Object& element : py::collect(held)) walk(element.get());
  }
}

}  // namespace

void attribute(const py::Object& name) {
  if (!name.is_text()) py::raise_type("Wrong Type for Attribute Name");
  const py::Text text(name);
  if (text.length() == 0) py::raise_value("Empty Attribute Name");
  if (!naming::is_attribute(text)) errors::raise<errors::WrongAttributeName>(text);
  if (naming::is_private(text)) errors::raise<errors::PrivateAttributeName>(text);
}

// All text is Unicode, in which form it is written too, so there is nothing to replace. What is left is the walk: a
// document that holds itself, is too deep, or has text that UTF-8 cannot encode is refused here, before its file is
// opened and thereby emptied.
py::Object clean(const py::Object& data) {
  walk(data.or_none());
  return data;
}

}  // namespace assertions

py::Scope expose_assertions(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(module, "_Assert", "The tests at the borders of the system.");

  const py::Scope parameters = py::make_namespace(scope, "Parameters", "Tests of parameters.");
  const py::Scope input = py::make_namespace(parameters, "Input", "Tests of the inputs of parameters.");
  py::function<&assertions::attribute>(
      input, "attribute", {"name"},
      "Refuses what cannot be the attribute name of an input.\n\n"
      "TypeError unless it is text, ValueError for the empty text, Error.WrongAttributeName unless it is an identifier "
      "of ASCII letters, digits and underscores, Error.PrivateAttributeName for two underscores first.");

  const py::Scope json = py::make_namespace(scope, "Json", "Tests of documents.");
  py::function<&assertions::clean>(
      json, "clean", {"data"},
      "Returns the document itself after checking that its texts and its depth can be written.\n\n"
      "RecursionError for a document that holds itself or has more than 500 levels, UnicodeEncodeError for one with "
      "lone surrogates in its keys or texts.");
  return scope;
}

}  // namespace heron
