#include "settings/check_presets.h"

#include <algorithm>

#include "foundation/clock.h"
#include "foundation/naming.h"
#include "foundation/stamp.h"
#include "foundation/text.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kStamp("stamp"), kChanged("changed"), kName("name"), kList("list"), kPresets("presets");
const py::Name kData("data"), kNames("names"), kConfig("config"), kSort("sort"), kClone("clone"), kApply("apply");
const py::Name kLoad("load"), kAdd("add"), kPop("pop"), kSyncApplied("sync_applied");

bool is_number(const py::Object& value) {
  return PyFloat_Check(value.or_none()) || (PyLong_Check(value.or_none()) && !PyBool_Check(value.or_none()));
}

/// The stored time; none, which counts as absent, where it is of another kind.
py::Object time_at(const py::Object& data) {
  py::Object changed = py::get(data, kChanged, py::to_python(0));
  if (is_number(changed)) return changed;
  document::warn(kChanged);
  return py::Object::none();
}

/// By code points.
bool is_before(const py::Ref<CheckPreset>& left, const py::Ref<CheckPreset>& right) {
  return PyUnicode_Compare(left->name().get(), right->name().get()) < 0;
}

}  // namespace

py::Object CheckPreset::load(const py::Object& type, const py::Object& presets, const py::Object& data) {
  const py::Object empty = py::text("");
  return type(presets, py::get(data, kName, empty), py::made<CheckConfig>(document::map_at(data, kList)),
              py::get(data, kStamp, empty), time_at(data));
}

void CheckPreset::init(const py::Object& presets, const py::Object& name, const py::Object& config,
                       const py::Object& stamp, const py::Object& changed) {
  presets_ = presets;
  name_ = to_str(name.is_text() ? name : py::text(""));
  config_ = config;
  stamp_ = stamp.truth() ? to_str(stamp) : fresh_stamp();
  changed_ = changed.truth() ? changed : clock::now();
  applied = false;
}

void CheckPreset::set_name(const py::Object& value) {
  if (!value.is_text() || !value.truth()) return;
  name_ = to_str(value);
  changed_ = clock::now();
  presets_.call(kSort);
}

void CheckPreset::set_config(const py::Object& value) {
  if (!py::Ref<CheckConfig>::holds(value)) return;
  config_ = value;
  changed_ = clock::now();
}

py::Dict CheckPreset::data() const {
  py::Dict data;
  data.set(kStamp, stamp_);
  data.set(kChanged, changed_);
  data.set(kName, naming::space_filter(py::Text(name_)));
  data.set(kList, config_.attr(kData));
  return data;
}

bool CheckPreset::equals(const py::Object& other) const {
  return py::Ref<CheckPreset>::holds(other) && stamp_.equals(py::Ref<CheckPreset>(other)->stamp_);
}

std::vector<CheckPresets::Preset> CheckPresets::presets() const {
  std::vector<Preset> presets;
  for (py::Object& object : array.items()) presets.emplace_back(std::move(object));
  return presets;
}

py::List CheckPresets::names() const {
  py::List names;
  for (const Preset& preset : presets()) names.append(preset->name());
  return names;
}

py::List CheckPresets::data() const {
  py::List data;
  for (const Preset& preset : presets()) data.append(preset->data());
  return data;
}

void CheckPresets::load(const py::Object& data) const {
  array.clear();
  if (!data.truth()) return;
  for (const py::Object& stored : document::maps(data, kPresets)) {
    array.append(CheckPreset::load(py::type_of<CheckPreset>(), py::object_of(*this), stored));
  }
  sort();
}

// Mostly all others are in order, and one more is not worth a whole sort.
void CheckPresets::add(const py::Object& name, const py::Object& config) const {
  const auto preset = Preset::make();
  preset->init(py::object_of(*this), name, config, py::Object::none(), py::Object::none());
  const std::vector<Preset> all = presets();
  if (std::ranges::is_sorted(all, is_before)) {
    array.insert(std::ranges::upper_bound(all, preset, is_before) - all.begin(), preset);
  } else {
    array.append(preset);
    sort();
  }
}

void CheckPresets::pop(const py::Object& preset) const {
  const std::vector<Preset> all = presets();
  const auto found = std::ranges::find_if(all, [&](const Preset& other) { return other->equals(preset); });
  if (found == all.end()) return;
  array.remove_at(found - all.begin());
  sort();
}

void CheckPresets::sort() const {
  std::vector<Preset> order = presets();
  if (std::ranges::is_sorted(order, is_before)) return;
  std::ranges::stable_sort(order, is_before);
  for (std::size_t i = 0; i < order.size(); ++i) array.set(static_cast<Py_ssize_t>(i), order[i]);
}

void CheckPresets::sync_applied(const py::Object& config) const {
  for (const Preset& preset : presets()) preset->applied = preset->config().equals(config);
}

void PresetEditor::init(const py::Object& list, const py::Object& collection) {
  check_list = list;
  presets = collection;
}

py::Object PresetEditor::names() const { return presets.attr(kNames); }

py::Object PresetEditor::config() const { return check_list.attr(kConfig); }

bool PresetEditor::config_loaded() const { return py::Ref<CheckConfig>::holds(config()); }

void PresetEditor::create(const py::Object& name) const {
  if (config_loaded()) presets.call(kAdd, name, config().call(kClone));
}

void PresetEditor::upload(const py::Object& preset) const {
  if (config_loaded()) preset.set_attr(kConfig, config().call(kClone));
}

void PresetEditor::apply(const py::Object& preset) const {
  if (!config_loaded()) return;
  const py::Object bound = config();
  bound.call(kApply, preset.attr(kConfig));
  check_list.call(kLoad, bound);
}

void PresetEditor::erase(const py::Object& preset) const { presets.call(kPop, preset); }

void PresetEditor::sync_applied() const { presets.call(kSyncApplied, config()); }

void expose_check_presets(const py::Scope& check) {
  const py::Scope scope =
      py::Class<CheckPresets>(check, "Presets",
                              "The presets of a user, sorted by name: by code points, equal names as they came.\n\n"
                              "Built from the JSON form, a list of presets' JSON forms. An element that is no map is "
                              "left out with a warning.")
          .copies()
          .init<&CheckPresets::init>({{"data", nullptr}})
          .accessor<&CheckPresets::names>("names", "list[str]: A new list of the names, in order.")
          .accessor<&CheckPresets::data>("data", "list[dict[str, Any]]: The JSON form, a new list.")
          .operation<&CheckPresets::load>("_load", {"data"}, "Replaces all presets by those of a JSON form, if any.")
          .operation<&CheckPresets::add>("add", {"name", "config"}, "Adds a new preset of this name and configuration.")
          .operation<&CheckPresets::pop>("pop", {"preset"},
                                         "Removes the preset with the stamp of this one; an unknown one is ignored.")
          .operation<&CheckPresets::sort>("sort", "Puts the presets into the order of their names.")
          .operation<&CheckPresets::sync_applied>(
              "sync_applied", {"config"}, "Sets `applied` of each preset: whether it equals this configuration.")
          .readonly<&CheckPresets::array>("_array", "list[_Settings.Check.Presets.Set]: The presets in order.")
          .length<&CheckPresets::size>()
          .iterate<&CheckPresets::iterate>()
          .done();

  py::Class<CheckPreset>(scope, "Set",
                         "A preset: a named snapshot of which checks are on, and with which parameters.\n\n"
                         "`presets` is the collection in which it stands. A `name` that is no text is left empty; an "
                         "empty `stamp` gets a new one, and a time `changed` of zero the present. Presets with the "
                         "same stamp are equal; the length is that of the configuration.")
      .copies()
      .init<&CheckPreset::init>({"presets", "name", "config", {"stamp", nullptr}, {"changed", nullptr}})
      .class_operation<&CheckPreset::load>("load", {"presets", "data"},
                                           "A new preset from its JSON form.\n\n"
                                           "Every key may be missing. A \"list\" that is no map and a \"changed\" that "
                                           "is no number count as missing, with a warning.")
      .accessor<&CheckPreset::data>("data",
                                    "dict[str, Any]: The JSON form, a new dict, the name without spaces at its ends.")
      .accessor<&CheckPreset::stamp>("stamp", "str: The preset's identity, 16 hexadecimal digits.")
      .accessor<&CheckPreset::name, &CheckPreset::set_name>(
          "name", "str: The name. Writing sorts the collection; anything but a text that is not empty is ignored.")
      .accessor<&CheckPreset::config, &CheckPreset::set_config>(
          "config", "_Settings.Check.Config: The states of the checks. Writing anything but a `Config` is ignored.")
      .accessor<&CheckPreset::presets>("_presets", "_Settings.Check.Presets: The collection in which it stands.")
      .accessor<&CheckPreset::name>("_name", "str: The stored `name`.")
      .accessor<&CheckPreset::config>("_config", "_Settings.Check.Config: The stored `config`.")
      .accessor<&CheckPreset::stamp>("_stamp", "str: The stored `stamp`.")
      .accessor<&CheckPreset::changed>("_changed", "float: The time of the last change, in seconds since the epoch.")
      .field<&CheckPreset::applied>("applied",
                                    "bool: Whether the checklist agreed with it when that was last looked at.")
      .equals<&CheckPreset::equals>()
      .length<&CheckPreset::size>()
      .done();

  py::Class<PresetEditor>(scope, "Editor",
                          "Connects the presets with a checklist, from which they are made and to which they go.\n\n"
                          "`create`, `upload` and `apply` do nothing while the checklist has no configuration.")
      .copies()
      .init<&PresetEditor::init>({"check_list", "presets"})
      .accessor<&PresetEditor::names>("names", "list[str]: The names of the presets, in order.")
      .operation<&PresetEditor::config_loaded>("_config_loaded", "Whether the checklist has a configuration.")
      .operation<&PresetEditor::create>("create", {"name"}, "Adds a preset of the checklist's present configuration.")
      .operation<&PresetEditor::upload>("upload", {"preset"},
                                        "Replaces what a preset holds by the checklist's present configuration.")
      .operation<&PresetEditor::apply>("apply", {"preset"}, "Brings the checklist to what a preset holds.")
      .operation<&PresetEditor::erase>("erase", {"preset"}, "Removes a preset.")
      .operation<&PresetEditor::sync_applied>("sync_applied", "Marks the presets that match the checklist.")
      .readonly<&PresetEditor::check_list>("_check_list", "Any: The checklist.")
      .readonly<&PresetEditor::presets>("_presets", "_Settings.Check.Presets: The presets.")
      .done();
}

}  // namespace heron
