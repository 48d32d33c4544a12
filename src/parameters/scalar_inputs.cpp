#include "parameters/scalar_inputs.h"

#include "parameters/kinds.h"
#include "parameters/names.h"

namespace heron {

void RegEx::init(const py::Object& attr_name, const py::Object& expression, const py::Object& label,
                 const py::Object& help_text) {
  ParameterInput::init(attr_name, label, help_text);
  kinds::text({{"text", expression}});
  text = expression;
}

bool RegEx::equals(const py::Object& other) const {
  if (py::Ref<RegEx>::holds(other)) return text.equals(py::Ref<RegEx>(other)->text);
  return other.is_text() && text.equals(other);
}

py::Dict RegEx::data() const {
  py::Dict data;
  data.set(names::kText, text);
  return data;
}

void RegEx::load(const py::Object& data) { text = py::get(data, names::kText, py::text(".+")); }

py::Object RegEx::clone() const { return remade(*this, {attr(), text, label(), help_text()}); }

void Switch::init(const py::Object& attr_name, const py::Object& is_on, const py::Object& label,
                  const py::Object& help_text) {
  ParameterInput::init(attr_name, label, help_text);
  kinds::boolean({"enabled", is_on});
  enabled = is_on;
}

py::Dict Switch::data() const {
  py::Dict data;
  data.set(names::kEnabled, enabled);
  return data;
}

void Switch::load(const py::Object& data) { enabled = py::get(data, names::kEnabled, py::to_python(false)); }

py::Object Switch::clone() const { return remade(*this, {attr(), enabled, label(), help_text()}); }

void expose_scalar_inputs(const py::Scope& parameters) {
  expose_ranges(parameters);

  py::Class<RegEx, ParameterInput>(
      parameters, "RegEx",
      "A regular expression, as text: what it means is up to the check that applies it.\n\n"
      "It equals another with the same text, and that text. TypeError for a text that is not a str.")
      .copies()
      .init<&RegEx::init>({"attr_name", {"text", ".+"}, {"label", ""}, {"help_text", ""}})
      .equals<&RegEx::equals>()
      .field<&RegEx::text>("text", "str: The expression, kept as it comes.")
      .accessor<&RegEx::data>("data", "dict[str, Any]: The JSON form, a new dict of \"text\".")
      .operation<&RegEx::load>("load", {"data"},
                               "Takes \"text\" as it comes; \".+\", whatever was declared, where there is none.\n\n"
                               "AttributeError unless the data are a mapping.")
      .operation<&RegEx::clone>("clone", "A new expression with the same fields and text, checked anew.")
      .done();

  py::Class<Switch, ParameterInput>(parameters, "Switch", "On or off. TypeError for a value that is not a bool.")
      .copies()
      .init<&Switch::init>({"attr_name", {"enabled", false}, {"label", ""}, {"help_text", ""}})
      .field<&Switch::enabled>("enabled", "bool: Whether it is on, kept as it comes.")
      .accessor<&Switch::data>("data", "dict[str, Any]: The JSON form, a new dict of \"enabled\".")
      .operation<&Switch::load>("load", {"data"},
                                "Takes \"enabled\" as it comes; False, whatever was declared, where there is none.\n\n"
                                "AttributeError unless the data are a mapping.")
      .operation<&Switch::clone>("clone", "A new switch with the same fields and value, checked anew.")
      .done();

  expose_combo_box(parameters);
}

}  // namespace heron
