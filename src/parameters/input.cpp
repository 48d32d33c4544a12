#include "parameters/input.h"

#include "foundation/assertions.h"
#include "foundation/text.h"
#include "parameters/kinds.h"
#include "parameters/names.h"

namespace heron {
namespace {

const py::Name kDict("__dict__"), kInit("__init__");

[[noreturn]] void left_to_kind(const std::string& member) {
  py::raise(PyExc_NotImplementedError, member + " must be implemented by each kind of input");
}

/// Does the error say that a constructor takes other arguments? Then it has not passed a line of it.
bool is_refusal(const py::Error& error) {
  if (!error.matches(PyExc_TypeError)) return false;
  PyObject* trace = PyException_GetTraceback(error.value().get());
  Py_DecRef(trace);
  return trace == nullptr;
}

/// What the constructor of a class from outside makes of the arguments, each under its name; none if it takes others.
py::Object made_by_name(const py::Object& make, const py::Signature& signature,
                        const std::vector<py::Object>& arguments) {
  const py::Dict named;
  for (std::size_t i = 0; i < arguments.size(); ++i) named.set(py::text(signature.parameter(i)), arguments[i]);
  try {
    return make.apply(py::tuple({}), named);
  } catch (const py::Error& error) {
    if (!is_refusal(error)) throw;
    return {};
  }
}

/// Hands on what code of a derived class has set on the original, as it is, but for what the copy has of its own.
void carry_missing_attributes(const py::Object& from, const py::Object& to) {
  const py::Dict attributes(to.attr(kDict));
  for (const auto& [name, value] : py::Dict(from.attr(kDict)).items()) {
    if (!attributes.find(name)) attributes.set(name, value);
  }
}

}  // namespace

void ParameterInput::init(const py::Object& attr_name, const py::Object& label, const py::Object& help_text) {
  assertions::attribute(attr_name);
  kinds::text({{"label", label}, {"help_text", help_text}});
  attr_ = attr_name;
  label_ = label;
  help_text_ = help_text;
}

py::Object ParameterInput::text() const {
  return format(R"(attr="{}" label="{}" help="{}")", {attr_, label_, help_text_});
}

py::Object ParameterInput::data() const { left_to_kind("data"); }
void ParameterInput::load(const py::Object&) { left_to_kind("load()"); }
py::Object ParameterInput::clone() const { left_to_kind("clone()"); }

py::Object remade(const py::Object& original, const Remaking& how, const std::vector<py::Object>& arguments) {
  PyTypeObject* type = Py_TYPE(original.get());
  const py::Object make = py::Object::borrow(reinterpret_cast<PyObject*>(type));
  if (type == how.type) return make.apply(py::tuple(arguments));
  const bool has_own_constructor = PyType_GetSlot(type, Py_tp_init) != PyType_GetSlot(how.type, Py_tp_init);
  py::Object copy =
      has_own_constructor ? made_by_name(make, how.signature, arguments) : make.apply(py::tuple(arguments));
  if (!copy) {
    copy = py::Object::steal(py::new_instance(type, nullptr, how.layout));
    const py::Object constructor = py::Object::borrow(reinterpret_cast<PyObject*>(how.type)).attr(kInit);
    std::vector<py::Object> all{copy};
    all.insert(all.end(), arguments.begin(), arguments.end());
    constructor.apply(py::tuple(all));
  }
  carry_missing_attributes(original, copy);
  return copy;
}

void add_member(const py::Object& holder, PyTypeObject* type, const py::Object& name, const py::Object& value) {
  static const py::Name kOrder("__mro__");
  for (const py::Object& base : py::collect(py::Object::borrow(reinterpret_cast<PyObject*>(type)).attr(kOrder))) {
    if (!py::holds(base.attr(kDict), name)) continue;
    const py::Object message = format("\"{}\" is a member of {} itself", {name, py::text(py::label(type))});
    py::raise(PyExc_AttributeError, py::Utf8(message).str());
  }
  holder.set_attr(name, value);
}

py::Object clones(const std::vector<py::Object>& originals) {
  std::vector<py::Object> copies;
  copies.reserve(originals.size());
  for (const py::Object& original : originals) copies.push_back(original.call(names::kClone));
  return py::tuple(copies);
}

void expose_input(const py::Scope& parameters) {
  py::Class<ParameterInput>(
      parameters, "_Input",
      "One setting of a check or an exporter: the base of all kinds of inputs.\n\n"
      "Args:\n"
      "    attr_name: The name by which the setting is reached and stored, an identifier.\n"
      "    label, help_text: What the front-end shows.\n\n"
      "TypeError for a name, label or help that is no text, ValueError for an empty name, Error.WrongAttributeName and "
      "Error.PrivateAttributeName for other bad names.\n\n"
      "A kind derived from this gives `data`, `load` and `clone`; here each raises NotImplementedError. `clone` of the "
      "kinds in this module makes an instance of the very class, also of a derived one. The constructor of a class "
      "gets the fields under the names of the arguments that the kind takes here; one that does not take them is left "
      "out. "
      "Attributes that the new instance then lacks are carried over as they are.")
      .copies()
      .init<&ParameterInput::init>({"attr_name", {"label", ""}, {"help_text", ""}})
      .text<&ParameterInput::text>()
      .accessor<&ParameterInput::attr>("attr", "str: The name by which the setting is reached and stored.")
      .accessor<&ParameterInput::label>("label", "str: The label of the widget.")
      .accessor<&ParameterInput::help_text>("help_text", "str: The help of the widget.")
      .accessor<&ParameterInput::attr>("_attr", "str: The stored `attr`.")
      .accessor<&ParameterInput::label>("_label", "str: The stored `label`.")
      .accessor<&ParameterInput::help_text>("_help_text", "str: The stored `help_text`.")
      .accessor<&ParameterInput::data>("data", "Any: The value in its JSON form.")
      .operation<&ParameterInput::load>("load", {"data"}, "Takes the value from a JSON form.")
      .operation<&ParameterInput::clone>("clone", "A new input with the same fields and value.")
      .done();
}

}  // namespace heron
