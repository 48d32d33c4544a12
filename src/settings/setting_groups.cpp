#include "settings/setting_groups.h"

#include "foundation/process_environment.h"
#include "foundation/safe_access.h"
#include "foundation/text.h"

namespace heron {
namespace {

const py::Name kMode("mode"), kDirectory("directory"), kProject("project"), kCheckUpdates("check_updates");
const py::Name kEnabled("enabled"), kHost("host"), kPortName("port"), kEraseSent("erase_sent");

}  // namespace

void ExportSettings::init(const py::Object& data) {
  *this = ExportSettings();  // a second construction starts from the defaults again
  mode = py::get(data, kMode, mode);
  directory = py::get(data, kDirectory, directory);
}

py::Dict ExportSettings::data() const {
  py::Dict data;
  data.set(kMode, mode);
  data.set(kDirectory, directory);
  return data;
}

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

void ServerSettings::init(const py::Object& data) {
  *this = ServerSettings();
  enabled = py::get(data, kEnabled, enabled);
  host_ = py::get(data, kHost, host_);
  port_ = py::get(data, kPortName, port_);
  erase_sent = py::get(data, kEraseSent, erase_sent);
  safe_access::call([this] {  // a stored host may hold what no environment can
    set_environment();
    return py::Object::none();
  });
}

py::Dict ServerSettings::data() const {
  py::Dict data;
  data.set(kEnabled, enabled);
  data.set(kHost, host_);
  data.set(kPortName, port_);
  data.set(kEraseSent, erase_sent);
  return data;
}

void ServerSettings::set_host(const py::Object& value) {
  host_ = value;
  set_environment();
}

void ServerSettings::set_port(const py::Object& value) {
  port_ = value;
  set_environment();
}

void ServerSettings::set_environment() const {
  process_environment::set("HERON-SERVER", format("{}:{}", {host_, port_}));
  ;
}

void expose_setting_groups(const py::Scope& settings) {
  py::Class<ExportSettings>(settings, "Export",
                            "Where exported files went last. Built from the JSON form, whose keys may be missing.")
      .init<&ExportSettings::init>({"data"})
      .accessor<&ExportSettings::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .field<&ExportSettings::mode>("mode", "int: How the directory is found, one of `Constants.Export.Mode`.")
      .field<&ExportSettings::directory>("directory", "str: The last directory, with \"~\" for the user's home.")
      .done();

  py::Class<WorkspaceSettings>(settings, "Workspace",
                               "What the user works on. Built from the JSON form, whose keys may be missing.")
      .init<&WorkspaceSettings::init>({"data"})
      .accessor<&WorkspaceSettings::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .field<&WorkspaceSettings::project>("project", "str: Identifies the current project; empty for none.")
      .field<&WorkspaceSettings::check_updates>("check_updates", "bool: Whether the front-end asks for newer versions.")
      .done();

  py::Class<ServerSettings>(settings, "Server",
                            "The server that a team shares.\n\n"
                            "Built from the JSON form, whose keys may be missing. The address is kept in the variable "
                            "HERON-SERVER of the process's environment, as \"host:port\".")
      .init<&ServerSettings::init>({"data"})
      .accessor<&ServerSettings::host, &ServerSettings::set_host>(
          "host", "str: Its host. ValueError for one that the environment cannot hold.")
      .accessor<&ServerSettings::port, &ServerSettings::set_port>("port", "int: Its port.")
      .accessor<&ServerSettings::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .operation<&ServerSettings::set_environment>("_set_environment", "Puts the address into HERON-SERVER.")
      .field<&ServerSettings::enabled>("enabled", "bool: Whether it is used, for projects and statistics.")
      .field<&ServerSettings::erase_sent>("erase_sent", "bool: Whether statistics that it took are removed here.")
      .accessor<&ServerSettings::host>("_host", "str: The stored `host`.")
      .accessor<&ServerSettings::port>("_port", "int: The stored `port`.")
      .done();
}

}  // namespace heron
