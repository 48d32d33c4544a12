#include "checks/checklist.h"

#include <algorithm>
#include <optional>

#include "checks/check_base.h"
#include "parameters/block.h"
#include "runtime/modules.h"
#include "settings/check_presets.h"

namespace heron {
namespace {

const py::Name kParameters("parameters"), kEnabled("enabled"), kOpened("opened");

/// An editor of these presets, or of new ones where there are none.
py::Object make_editor(const py::Object& checklist, const py::Object& presets) {
  auto editor = py::Ref<PresetEditor>::make();
  editor->init(checklist, py::Ref<CheckPresets>::holds(presets) ? presets : py::Ref<CheckPresets>::make());
  return editor;
}

}  // namespace

void CheckControl::init(const py::Object& type) {
  static const py::Name kShortName("short_name");
  name = type.attr(kShortName);
  check = type;
  parameters = type.call(kParameters);
}

py::Object CheckControl::description() const {
  static const py::Name kDescription("description");
  return check.attr(kDescription);
}

bool CheckControl::is_scene_oriented() const {
  static const py::Name kSceneOriented("scene_oriented");
  return check.attr(kSceneOriented).truth();
}

void CheckControl::load(const py::Object& stored) {
  static const py::Name kLoad("load");
  opened = stored.attr(kOpened);
  enabled = stored.attr(kEnabled);
  parameters.call(kLoad, stored.attr(kParameters));
  state = stored;
}

void CheckControl::save() const {
  static const py::Name kData("data"), kDefaults("defaults");
  if (state.is_none()) return;
  const bool keeps = is_enabled();
  state.set_attr(kEnabled, enabled);
  state.set_attr(kOpened, keeps ? opened : py::to_python(false));
  if (keeps && has_lost_inputs()) return;
  state.set_attr(kParameters, parameters.attr(keeps ? kData : kDefaults));
}

bool CheckControl::has_lost_inputs() const {
  return py::Ref<ParameterBlock>::holds(parameters) && py::Ref<ParameterBlock>(parameters)->build_error();
}

void CheckControl::clear() {
  static const py::Name kReset("reset");
  state = py::Object::none();
  parameters.call(kReset);
  enabled = opened = py::to_python(false);
}

void Checklist::init(const py::Object& classes, const py::Object& presets, const py::Object& settings) {
  const py::List fresh;
  for (const py::Object& type : py::collect(classes)) fresh.append(py::made<CheckControl>(type));
  controls = fresh;
  categories = build_categories();
  config = py::Object::none();
  load(settings);
  preset_editor = make_editor(py::object_of(*this), presets);
}

py::Object Checklist::iterator(bool enabled) const {
  static const py::Name kAttrGetter("attrgetter");
  if (!enabled) return controls.iterate();
  const py::Object filter = py::Object::borrow(reinterpret_cast<PyObject*>(&PyFilter_Type));
  return filter(py::modules::operators.call(kAttrGetter, py::Object::borrow(kEnabled.get())), controls);
}

py::Object Checklist::iterate_categories() const { return categories.iterate(); }

bool Checklist::is_empty() const {
  return std::ranges::none_of(entries(), [](const auto& control) { return control->is_enabled(); });
}

py::List Checklist::get(bool enabled, bool scene_oriented) const {
  const py::List chosen;
  for (const auto& control : entries()) {
    if (enabled && !control->is_enabled()) continue;
    if (control->is_scene_oriented() == scene_oriented) chosen.append(control);
  }
  return chosen;
}

void Checklist::load(const py::Object& settings) {
  if (!py::Ref<CheckConfig>::holds(settings)) return;
  static const py::Name kGet("get"), kMask("mask");
  config = settings;
  std::vector<py::Object> known;
  for (const auto& control : entries()) {
    known.push_back(check_class_id(control->check));
    control->load(settings.call(kGet, known.back(), py::to_python(true)));
  }
  settings.attr(kMask).apply(py::tuple(known));
}

void Checklist::save() const {
  for (const auto& control : entries()) control->save();
}

void Checklist::clear() const {
  for (const auto& control : entries()) control->clear();
}

py::List Checklist::build_categories() const {
  const py::List order;
  const py::Dict table;
  for (const auto& control : entries()) {
    const py::Object name = check_category(control->check);
    std::optional<py::Object> category = table.find(name);
    if (!category) {
      category = py::made<CheckCategory>(name);
      table.set(name, *category);
      order.append(*category);
    }
    py::Ref<CheckCategory>(*category)->add(control);
  }
  return order;
}

std::vector<py::Ref<CheckControl>> Checklist::entries() const {
  std::vector<py::Ref<CheckControl>> entries;
  for (py::Object& control : controls.items()) entries.emplace_back(std::move(control));
  return entries;
}

void expose_checklist(const py::Scope& check) {
  const py::Scope scope =
      py::Class<Checklist>(
          check, "_List",
          "What is to be checked: a `Control` for each known check class, in their order.\n\n"
          "Args:\n"
          "    classes: The check classes; those that are found later do not show.\n"
          "    presets: The `_Settings.Check.Presets` that its `preset` edits; anything else stands for none yet.\n"
          "    config: The stored configuration to `load`.\n\n"
          "A loop gives the controls.")
          .copies()
          .init<&Checklist::init>({"classes", {"presets", nullptr}, {"config", nullptr}})
          .iterate<&Checklist::iterate>()
          .accessor<&Checklist::iterate_categories>(
              "categories", "Iterator[Check._List.Category]: A loop over the categories, in order.")
          .accessor<&Checklist::get_config>(
              "config", "_Settings.Check.Config | None: The configuration that `load` was given, or None.")
          .accessor<&Checklist::get_preset_editor>(
              "preset", "_Settings.Check.Presets.Editor: The editor of the presets for this checklist.")
          .operation<&Checklist::iterator>(
              "iterator", {{"enabled", false}},
              "A loop over the controls, or over those that are enabled when it comes to them.")
          .operation<&Checklist::is_empty>("is_empty", "Whether no control is enabled.")
          .operation<&Checklist::get>("get", {{"enabled", true}, {"scene_oriented", false}},
                                      "A new list of the enabled controls, or of all, whose check looks at the scene "
                                      "as a whole, or else at single objects.")
          .operation<&Checklist::load>(
              "load", {"config"},
              "Binds the controls to the records of a configuration, which from then on has a record for each of them "
              "and no other. Does nothing unless it is a `_Settings.Check.Config`.")
          .operation<&Checklist::save>("save", "Writes each control into its record. Nothing goes to disk.")
          .operation<&Checklist::clear>("clear", "Disables all controls and lets go of their records.")
          .operation<&Checklist::build_categories>("_build_categories",
                                                   "A new list of categories, in the order of their first control.")
          .readonly<&Checklist::controls>("_controls", "list[Check._List.Control]: The controls in order.")
          .readonly<&Checklist::categories>("_categories", "list[Check._List.Category]: The categories in order.")
          .readonly<&Checklist::config>("_config", "_Settings.Check.Config | None: The configuration, or None.")
          .readonly<&Checklist::preset_editor>("_preset_editor",
                                               "_Settings.Check.Presets.Editor: The editor of the presets.")
          .done();

  py::Class<CheckControl>(scope, "Control", "A check class that can be switched on, with parameters of its own.")
      .copies()
      .init<&CheckControl::init>({"_class"})
      .accessor<&CheckControl::description>("description", "str: What the check looks for, for the user.")
      .operation<&CheckControl::load>("load", {"state"}, "Takes over a stored record, and keeps it for `save`.")
      .operation<&CheckControl::save>("save",
                                      "Writes into the record; a disabled check leaves the defaults there, folded. "
                                      "Parameters whose inputs could not "
                                      "be built leave those that are stored. Does nothing without a record.")
      .operation<&CheckControl::clear>("clear", "Lets go of the record, of the parameters' tasks, and is disabled.")
      .field<&CheckControl::name>("name", "str: The name in lists.")
      .field<&CheckControl::check>("check", "type[Check.Base]: The check class.")
      .field<&CheckControl::parameters>(
          "parameters", "Parameters.Block: The `Parameters.Block` of this control; a run for each task.")
      .field<&CheckControl::enabled>("enabled", "bool: Whether the check runs.")
      .field<&CheckControl::opened>("opened", "bool: Whether the front-end shows it unfolded.")
      .readonly<&CheckControl::state>("_state", "_Settings.Check | None: The stored record, or None.")
      .done();

  py::Class<CheckCategory>(scope, "Category",
                           "The controls that are shown as one group. `name` is in lower case. A loop gives them.")
      .copies()
      .init<&CheckCategory::init>({"name"})
      .iterate<&CheckCategory::iterate>()
      .operation<&CheckCategory::add>("add", {"control"}, "Appends a control.")
      .field<&CheckCategory::name>("name", "str: The category, in lower case.")
      .readonly<&CheckCategory::array>("_array", "list[Check._List.Control]: The controls in order.")
      .done();
}

}  // namespace heron
