#include "settings/check_state.h"

#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kDirectories("directories"), kMode("mode"), kList("list"), kPresets("presets");

}  // namespace

void CheckState::init(const py::Object& data) {
  *this = CheckState();  // a second construction leaves the groups of the first alone
  directories->init(py::Iterable(document::list_at(data, kDirectories)));
  mode = py::get(data, kMode, mode);
  config->init(document::map_at(data, kList));
  presets->init(document::list_at(data, kPresets));
}

py::Dict CheckState::data() const {
  py::Dict data;
  data.set(kDirectories, directories->data());
  data.set(kMode, mode);
  data.set(kList, config->data());
  data.set(kPresets, presets->data());
  return data;
}

void expose_check_state(const py::Scope& check) {
  py::Class<CheckState>(check, "State",
                        "What a user has set up for checks.\n\n"
                        "Built from the JSON form, a map with \"directories\", \"mode\", \"list\" and \"presets\". "
                        "Each may be missing; a group of the wrong kind counts as missing, with a warning.")
      .copies()
      .init<&CheckState::init>({"data"})
      .accessor<&CheckState::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .field<&CheckState::directories>("directories",
                                       "_Settings.Check.Directory.List: Where check classes are looked for.")
      .field<&CheckState::mode>("mode", "int: What a validation looks at, one of `Constants.Check.Mode`.")
      .field<&CheckState::config>("config", "_Settings.Check.Config: The states of the checks of the workspace.")
      .field<&CheckState::presets>("presets", "_Settings.Check.Presets: The presets of the workspace.")
      .done();
}

}  // namespace heron
