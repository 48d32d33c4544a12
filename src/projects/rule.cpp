#include "projects/rule.h"

#include "foundation/constants.h"
#include "foundation/failure.h"
#include "foundation/stamp.h"

namespace heron {
namespace {

const py::Name kStamp("stamp"), kName("name"), kRegex("regex"), kTypes("types"), kChecklist("checklist");
const py::Name kRange("range"), kColor("color"), kIcon("icon");

void replace_text(py::Object& text, const py::Object& value) {
  if (value.is_text()) text = to_str(value);
}

/// The range of two bounds, in any sequence.
py::Ref<RuleRange> to_range(const py::Object& bounds) {
  const std::vector<py::Object> pair = py::collect(bounds);
  if (pair.size() != 2) {
    py::raise_value("the range of a rule must have 2 bounds, not " + std::to_string(pair.size()));
  }
  return py::made<RuleRange>(pair[0], pair[1]);
}

py::Ref<RuleRange> to_range(const py::Object& bounds, const py::Object& rule) {
  try {
    return to_range(bounds);
  } catch (const py::Error& error) {
    if (error.is_failure()) failure::note(error.value(), format("in the range of the rule \"{}\"", {rule}));
    throw;
  }
}

}  // namespace

void ProjectRule::init(const py::Object& data) {
  *this = ProjectRule();  // a second construction starts from the defaults again
  stamp_ = fresh_stamp();
  set_stamp(py::get(data, kStamp));
  set_name(py::get(data, kName));
  set_regex(py::get(data, kRegex));
  set_types(py::get(data, kTypes));  // without a default: absent types stay absent and are written as null
  range_ = to_range(py::get(data, kRange, range_->data()), name_);
  check_config = py::made<CheckConfig>(py::get(data, kChecklist, py::Dict()));
  color = py::get(data, kColor, color);
  icon = py::get(data, kIcon, icon);
}

bool ProjectRule::is_ghost() const { return py::Utf8(name_).view() == constants::kGhost; }

py::Dict ProjectRule::data() const {
  py::Dict data;
  data.set(kStamp, stamp_);
  data.set(kName, name_);
  data.set(kRegex, regex_);
  data.set(kTypes, types_);
  data.set(kChecklist, check_config->data());
  data.set(kRange, range_->data());
  data.set(kColor, color);
  data.set(kIcon, icon);
  return data;
}

void ProjectRule::set_stamp(const py::Object& value) { replace_text(stamp_, value); }
void ProjectRule::set_name(const py::Object& value) { replace_text(name_, value); }
void ProjectRule::set_regex(const py::Object& value) { replace_text(regex_, value); }

void ProjectRule::set_types(const py::Object& value) {
  try {
    types_ = to_str(value);
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_TypeError)) throw;  // a text that cannot be converted leaves the types as they are
  }
}

py::Scope expose_rule(const py::Scope& settings) {
  const py::Scope scope =
      py::Class<ProjectRule>(settings, "Rule",
                             "What one kind of object in a scene hierarchy looks like.\n\n"
                             "Built from the JSON form, a mapping of which every key may be missing. ValueError or "
                             "TypeError for a \"range\" that is not two bounds.")
          .copies()
          .init<&ProjectRule::init>({"data"})
          .accessor<&ProjectRule::data>("data", "dict[str, Any]: The JSON form, a new dict.")
          .operation<&ProjectRule::is_ghost>(
              "is_ghost",
              "Whether the rule stands for the level above the roots of a hierarchy: it is named \"ghost\".")
          .accessor<&ProjectRule::stamp, &ProjectRule::set_stamp>(
              "stamp", "str: The rule's identity, 16 hexadecimal digits. Writing anything but text changes nothing.")
          .accessor<&ProjectRule::name, &ProjectRule::set_name>(
              "name", "str: The name, unique in its list. Writing anything but text changes nothing.")
          .accessor<&ProjectRule::regex, &ProjectRule::set_regex>(
              "regex",
              "str: The expression that an object's name must match. Writing anything but text changes nothing.")
          .accessor<&ProjectRule::types, &ProjectRule::set_types>(
              "types",
              "list[str] | None: The list of allowed object types; empty for any, None where the data had none.")
          .accessor<&ProjectRule::range>("range",
                                         "_Project.Settings.Rule.Range: How many objects may match at one place.")
          .accessor<&ProjectRule::stamp>("_stamp", "str: The stored `stamp`.")
          .accessor<&ProjectRule::name>("_name", "str: The stored `name`.")
          .accessor<&ProjectRule::regex>("_regex", "str: The stored `regex`.")
          .accessor<&ProjectRule::types>("_types", "list[str] | None: The stored `types`.")
          .accessor<&ProjectRule::range>("_range", "_Project.Settings.Rule.Range: The stored `range`.")
          .field<&ProjectRule::check_config>("check_config",
                                             "_Settings.Check.Config: The checks that run on matched objects.")
          .field<&ProjectRule::color>("color", "str: The colour for display, such as \"#4390ea\".")
          .field<&ProjectRule::icon>("icon", "str: The name of the icon for display.")
          .done();
  expose_rule_range(scope);
  return scope;
}

}  // namespace heron
