#include "settings/workspace_settings.h"

namespace heron {
namespace {

const py::Name kProject("project"), kCheckUpdates("check_updates");

}  // namespace

void WorkspaceSettings::init(const py::Object& data) {
  *this = WorkspaceSettings();
  project = py::get(data, kProject, project);
  check_updates = py::get(data, kCheckUpdates, check_updates);
}

py::Dict WorkspaceSettings::data() const {
  py::Dict data;
  data.set(kProject, project);
  data.set(kCheckUpdates, check_updates);
  return data;
}

void expose_workspace_settings(const py::Scope& settings) {
  py::Class<WorkspaceSettings>(settings, "Workspace",
                               "What the user works on. Built from the JSON form, whose keys may be missing.")
      .copies()
      .init<&WorkspaceSettings::init>({"data"})
      .accessor<&WorkspaceSettings::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .field<&WorkspaceSettings::project>("project", "str: Identifies the current project; empty for none.")
      .field<&WorkspaceSettings::check_updates>("check_updates", "bool: Whether the front-end asks for newer versions.")
      .done();
}

}  // namespace heron
