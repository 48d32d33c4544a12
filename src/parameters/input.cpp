#include "parameters/input.h"

#include "foundation/assertions.h"
#include "foundation/text.h"
#include "parameters/kinds.h"
#include "parameters/names.h"

namespace heron {
namespace {

const py::Name kDict("__dict__");

[[noreturn]] void left_to_kind(const std::string& member) {
  py::raise(PyExc_NotImplementedError, member + " must be implemented by each kind of input");
}

}  // namespace

void ParameterInput::init(const py::Object& attr_name, const py::Object& label, const py::Object& help_text) {
  assertions::attribute(attr_name);
  kinds::text({label, help_text});
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

void carry_attributes(const py::Object& from, const py::Object& to) {
  const py::Dict attributes(to.attr(kDict));
  for (const auto& [name, value] : py::Dict(from.attr(kDict)).items()) attributes.set(name, value);
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
      "kinds in this module makes an instance of the very class, also of a derived one, whose constructor it does not "
      "call: attributes which that has added are carried over as they are.")
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
