#include "foundation/assertions.h"

#include "foundation/errors.h"
#include "foundation/naming.h"

namespace heron {

void assertions::attribute(const py::Object& name) {
  if (!name.is_text()) py::raise_type("Wrong Type for Attribute Name");
  if (!name.truth()) py::raise_value("Empty Attribute Name");
  const py::Text text(name);
  if (!naming::is_attribute(text)) errors::wrong_attribute_name(name);
  if (naming::is_private(text)) errors::private_attribute_name(name);
}

// Text is Unicode already and passes as it is, so cleaning only has to reach every value: a document that holds itself
// or is too deep is refused here, before anything is written.
py::Object assertions::clean(const py::Object& data) {
  const py::Depth depth(" while a document is cleaned");
  if (PyDict_Check(data.or_none())) {
    const py::Dict map(data);
    for (const auto& [key, value] : map.items()) map.set(key, clean(value));
  } else if (PyList_Check(data.or_none())) {
    const py::List list(data);
    for (Py_ssize_t i = 0; i < list.size(); ++i) list.set(i, clean(list.at(i)));
  }
  return data;
}

void expose_assertions(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(module, "_Assert", "Tests that guard the borders of the library.");
  const py::Scope parameters = py::make_namespace(scope, "Parameters", "Tests of parameters.");
  const py::Scope input = py::make_namespace(parameters, "Input", "Tests of inputs.");
  const py::Scope json = py::make_namespace(scope, "Json", "Tests of documents.");
  py::function<&assertions::attribute>(
      input, "attribute", {"name"},
      "Refuses a name that an input's attribute cannot have.\n\n"
      "TypeError if it is no text, ValueError if it is empty, `Error.WrongAttributeName` for other characters than\n"
      "letters, digits and low lines or a digit first, `Error.PrivateAttributeName` for two low lines first.");
  py::function<&assertions::clean>(json, "clean", {"data"},
                                   "The document itself, its values made ready for JSON in place.\n\n"
                                   "RecursionError for a document that holds itself or is too deep.");
}

}  // namespace heron
