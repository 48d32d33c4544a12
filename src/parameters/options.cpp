#include "parameters/options.h"

#include <map>
#include <optional>

#include "foundation/assertions.h"
#include "parameters/names.h"
#include "parameters/scalar_inputs.h"
#include "runtime/modules.h"

namespace heron {
namespace {

py::Object selected_attr(const py::Object& box) {
  static const py::Name kGetSelected("get_selected");
  const py::Object item = box.call(kGetSelected);
  if (item.is_none()) py::raise(PyExc_AttributeError, "a combo box among the options has no items");
  return item.attr(names::kAttr);
}

/// The bare value of an input, if it is of a kind that has one.
std::optional<py::Object> bare_value(const py::Object& input) {
  if (ParameterOptions::is_switch(input)) return input.attr(names::kEnabled);
  if (ParameterOptions::is_integer(input) || ParameterOptions::is_float(input)) return input.attr(names::kValue);
  if (ParameterOptions::is_combobox(input)) return selected_attr(input);
  return std::nullopt;
}

/// The key under which an input takes its bare value from its own form of data, if it can be set here.
const py::Name* key_of(const py::Object& input) {
  if (ParameterOptions::is_switch(input)) return &names::kEnabled;
  if (ParameterOptions::is_integer(input)) return &names::kValue;
  if (ParameterOptions::is_combobox(input)) return &names::kSelectedAttr;
  return nullptr;
}

/// All inputs below groups by their names. A group that stands at many places is walked once.
class InputsOfGroups {
 public:
  py::Dict find(const py::Object& parent) {
    const py::Depth depth(" while the inputs of groups are sought");
    py::Dict found;
    for (const py::Object& child : py::collect(parent)) {
      if (ParameterOptions::is_input(child)) {
        found.set(child.attr(names::kAttr), child);
      } else if (ParameterOptions::is_group(child)) {
        for (const auto& [attr, input] : of_group(child).items()) found.set(attr, input);
      }
    }
    return found;
  }

 private:
  py::Dict of_group(const py::Object& group) {
    const auto known = walked_.find(group.get());
    if (known != walked_.end()) return known->second.second;
    const py::Dict inputs = find(group);
    return walked_.try_emplace(group.get(), group, inputs).first->second.second;
  }

  std::map<PyObject*, std::pair<py::Object, py::Dict>> walked_;  ///< With the group itself, so that it stays alive.
};

}  // namespace

void ParameterOptions::init(const py::Object& attr_name, const py::Object& title, const py::Object& help,
                            const py::Object& children) {
  assertions::attribute(attr_name);
  attr_ = attr_name;
  label_ = title;
  help_text_ = help;
  contents = kept_contents(children);
  parameters = find_parameters(py::Object::none());
  defaults = get_state();
}

py::Dict ParameterOptions::data() const {
  py::Dict changed;
  for (const auto& [attr, value] : get_state().items()) {
    const auto otherwise = defaults.find(attr);
    if (!otherwise || !value.equals(*otherwise)) changed.set(attr, value);
  }
  return changed;
}

void ParameterOptions::load(const py::Object& data) const {
  reset();
  apply(data);
}

py::Object ParameterOptions::clone() const {
  auto copy = of_same_class(*this);
  copy->init(attr_, label_, py::text(""), clones(py::collect(contents)));
  copy->defaults = py::Dict(py::modules::copy.call(names::kDeepCopy, defaults));
  return copy;
}

bool ParameterOptions::is_group(const py::Object& node) { return py::Ref<ParameterGroup>::holds(node); }
bool ParameterOptions::is_input(const py::Object& node) { return py::Ref<ParameterInput>::holds(node); }
bool ParameterOptions::is_switch(const py::Object& node) { return py::Ref<Switch>::holds(node); }
bool ParameterOptions::is_integer(const py::Object& node) { return py::Ref<IntRange>::holds(node); }
bool ParameterOptions::is_float(const py::Object& node) { return py::Ref<FloatRange>::holds(node); }
bool ParameterOptions::is_combobox(const py::Object& node) { return py::Ref<ComboBox>::holds(node); }

py::Dict ParameterOptions::find_parameters(const py::Object& parent) const {
  return InputsOfGroups().find(parent.is_none() ? py::object_of(*this) : parent);
}

py::Dict ParameterOptions::get_state() const {
  py::Dict state;
  for (const auto& [attr, input] : parameters.items()) {
    if (const auto value = bare_value(input)) state.set(attr, *value);
  }
  return state;
}

void ParameterOptions::apply(const py::Object& data) const {
  const py::Dict known = parameters;  // the inputs may do anything while they load
  for (const auto& [attr, value] : py::pairs(data)) {
    const py::Object input = known.find(attr).value_or(py::Object::none());
    const py::Name* key = key_of(input);
    if (key == nullptr) continue;
    const py::Dict form;
    form.set(*key, value);
    input.call(names::kLoad, form);
  }
}

void expose_options(const py::Scope& parameters) {
  py::Class<ParameterOptions>(
      parameters, "Options",
      "The options of an exporter: a tree of inputs in groups, which hold the current values themselves.\n\n"
      "Args:\n"
      "    attr_name: Its identifier, refused as that of an input is.\n"
      "    contents: Inputs and instances of `Group`; of two inputs of one name the later counts.\n\n"
      "TypeError for contents that cannot be walked over, AttributeError for a combo box without items, RecursionError "
      "for a group that stands in itself. The state maps the attribute name of each `Switch`, `IntRange`, `FloatRange` "
      "and `ComboBox` to its bare value; other inputs have no part in it. A loop gives the top of the tree.")
      .copies()
      .init<&ParameterOptions::init>({{"attr_name", ""}, {"label", ""}, {"help_text", ""}, {"contents", py::tuple({})}})
      .iterate<&ParameterOptions::iterate>()
      .accessor<&ParameterOptions::attr>("attr", "str: The identifier of the options.")
      .accessor<&ParameterOptions::label>("label", "str: What the front-end shows above the options.")
      .accessor<&ParameterOptions::help_text>("help_text", "str: The help of the options.")
      .accessor<&ParameterOptions::data>(
          "data", "dict[str, Any]: The JSON form, a new dict of the values that are no defaults.")
      .operation<&ParameterOptions::reset>("reset", "Puts all values back to the defaults, except those of floats.")
      .operation<&ParameterOptions::load>("load", {"data"},
                                          "Takes values by the names of their inputs, all others are reset.\n\n"
                                          "Unknown names are passed over, and those of floats, whose values stay. "
                                          "AttributeError unless the data are a mapping.")
      .operation<&ParameterOptions::clone>(
          "clone",
          "New options of clones of the contents, with the same defaults. Their help is empty.\n\n"
          "A derived class gets an instance of its own, without a call of its constructor and without attributes that "
          "it has added: they may be inputs of this tree.")
      .static_operation<&ParameterOptions::is_group>("is_group", {"node"}, "Whether it is a `Group`.")
      .static_operation<&ParameterOptions::is_input>("is_input", {"node"}, "Whether it is an input of any kind.")
      .static_operation<&ParameterOptions::is_switch>("is_switch", {"node"}, "Whether it is a `Switch`.")
      .static_operation<&ParameterOptions::is_integer>("is_integer", {"node"}, "Whether it is an `IntRange`.")
      .static_operation<&ParameterOptions::is_float>("is_float", {"node"}, "Whether it is a `FloatRange`.")
      .static_operation<&ParameterOptions::is_combobox>("is_combobox", {"node"}, "Whether it is a `ComboBox`.")
      .operation<&ParameterOptions::find_parameters>(
          "_find_parameters", {{"parent", nullptr}},
          "A new dict of all inputs below a group, or of the whole tree, by their names.")
      .operation<&ParameterOptions::get_state>("_get_state", "A new dict of the current state.")
      .operation<&ParameterOptions::apply>("_apply", {"data"}, "Takes values by the names of their inputs.")
      .accessor<&ParameterOptions::attr>("_attr", "str: The stored `attr`.")
      .accessor<&ParameterOptions::label>("_label", "str: The stored `label`.")
      .accessor<&ParameterOptions::help_text>("_help_text", "str: The stored `help_text`.")
      .readonly<&ParameterOptions::contents>("_contents",
                                             "Sequence[Parameters._Input | Parameters.Group]: The top of the tree.")
      .readonly<&ParameterOptions::parameters>("_parameters",
                                               "dict[str, Parameters._Input]: All inputs of the tree by their names.")
      .readonly<&ParameterOptions::defaults>("_defaults", "dict[str, Any]: The state at construction.")
      .done();
}

}  // namespace heron
