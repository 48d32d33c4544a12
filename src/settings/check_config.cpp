#include "settings/check_config.h"

#include <algorithm>

#include "runtime/modules.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kEnabled("enabled"), kOpened("opened"), kParameters("parameters");
const py::Name kDeepCopy("deepcopy");

bool have_maps_alone(const py::Object& blocks) {
  return PyList_Check(blocks.or_none()) == 0 || std::ranges::all_of(py::collect(blocks), document::is_map);
}

}  // namespace

py::Ref<StoredCheck> StoredCheck::create(const py::Object& class_id, const py::Object& values) {
  auto check = py::Ref<StoredCheck>::make();
  const py::Object no = py::to_python(false);
  check->init(class_id, py::get(values, kEnabled, no), py::get(values, kOpened, no),
              py::get(values, kParameters, py::List()));
  return check;
}

py::Object StoredCheck::empty(const py::Object& type, const py::Object& class_id) {
  const py::Object no = py::to_python(false);
  return type(class_id, no, no, py::List());
}

void StoredCheck::init(const py::Object& id, const py::Object& is_enabled, const py::Object& is_opened,
                       const py::Object& blocks) {
  class_id = id;
  enabled = is_enabled;
  opened = is_opened;
  parameters = blocks;
}

py::Dict StoredCheck::data() const {
  py::Dict data;
  data.set(kEnabled, enabled);
  data.set(kOpened, opened);
  data.set(kParameters, py::modules::copy.call(kDeepCopy, parameters));
  return data;
}

py::Object CheckConfig::empty(const py::Object& type) { return type(py::Dict()); }

py::Dict CheckConfig::data() const {
  py::Dict data;
  for (const auto& [class_id, check] : enabled()) data.set(class_id, check->data());
  return data;
}

bool CheckConfig::equals(const py::Object& other) const {
  return py::Ref<CheckConfig>::holds(other) && data().equals(py::Ref<CheckConfig>(other)->data());
}

void CheckConfig::load(const py::Object& stored) {
  table.clear();
  for (const auto& [class_id, values] : py::pairs(stored)) {
    const bool fits = document::is_map(values);
    if (!fits) document::warn(class_id);
    const auto check = StoredCheck::create(class_id, fits ? values : py::Dict());
    // The parameters come to them later, without the document.
    if (!have_maps_alone(check->parameters)) document::note(class_id);
    table.set(class_id, check);
  }
}

void CheckConfig::mask(const py::Object& class_ids) const {
  for (const auto& [class_id, check] : table.items()) {
    if (!py::holds(class_ids, class_id)) table.remove(class_id);
  }
}

py::Object CheckConfig::get(const py::Object& class_id, bool force) const {
  if (const auto check = table.find(class_id)) return *check;
  if (!force) return py::Object::none();
  auto check = StoredCheck::create(class_id, py::Dict());
  table.set(class_id, check);
  return check;
}

std::vector<CheckConfig::Entry> CheckConfig::enabled() const {
  std::vector<Entry> entries;
  for (auto& [class_id, value] : table.items()) {
    py::Ref<StoredCheck> check(std::move(value));
    if (check->enabled.truth()) entries.emplace_back(std::move(class_id), std::move(check));
  }
  return entries;
}

py::Scope expose_check(const py::Scope& settings) {
  const py::Scope scope =
      py::Class<StoredCheck>(settings, "Check", "The stored state of one check; values are kept as they come.")
          .copies()
          .init<&StoredCheck::init>({"class_id", "enabled", "opened", "parameters"})
          .class_operation<&StoredCheck::empty>("empty", {"class_id"},
                                                "A new state of this check: disabled, folded, without parameters.")
          .accessor<&StoredCheck::data>("data",
                                        "dict[str, Any]: The JSON form, a new dict of \"enabled\", \"opened\" and a "
                                        "deep copy of \"parameters\". The id is not part of it.")
          .field<&StoredCheck::class_id>("class_id", "str: The id of the check.")
          .field<&StoredCheck::enabled>("enabled", "bool: Whether the check takes part in a validation.")
          .field<&StoredCheck::opened>("opened", "bool: Whether the front-end shows the check unfolded.")
          .field<&StoredCheck::parameters>("parameters", "list[dict[str, Any]]: The data of the check's parameters.")
          .done();

  py::Class<CheckConfig>(
      scope, "Config",
      "The stored states of checks, by their ids.\n\n"
      "Built from the JSON form: a mapping from the id to a mapping with \"enabled\", \"opened\" and \"parameters\", "
      "each of which may be missing. What stands for a check and is no map counts as an empty one, with a warning. Two "
      "configurations are equal if their enabled checks are; the length counts all, and a loop gives each `Check`.")
      .copies()
      .init<&CheckConfig::init>({"table"})
      .class_operation<&CheckConfig::empty>("empty", {}, "A new configuration without checks.")
      .accessor<&CheckConfig::is_empty>("is_empty", "bool: Whether no check is enabled.")
      .accessor<&CheckConfig::data>(
          "data", "dict[str, Any]: The JSON form, a new dict of the enabled checks. Others are not kept.")
      .operation<&CheckConfig::load>("_load", {"table"}, "Replaces all states by those of a JSON form.")
      .operation<&CheckConfig::mask>("mask", {py::Parameter::rest("class_ids")},
                                     "Removes every check whose id is not among the arguments.")
      .operation<&CheckConfig::clone>("clone", "A new configuration of the enabled checks.")
      .operation<&CheckConfig::apply>("apply", {"config"},
                                      "Replaces all states by the enabled ones of another configuration.")
      .operation<&CheckConfig::get>("get", {"class_id", {"force", false}},
                                    "The state of a check, or None.\n\n"
                                    "With `force` an unknown check gets an empty state, which is added.")
      .readonly<&CheckConfig::table>("_table", "dict[str, _Settings.Check]: The states by id.")
      .equals<&CheckConfig::equals>()
      .length<&CheckConfig::size>()
      .iterate<&CheckConfig::iterate>()
      .done();
  return scope;
}

}  // namespace heron
