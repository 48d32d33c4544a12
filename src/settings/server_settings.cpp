#include "settings/server_settings.h"

#include "foundation/process_environment.h"
#include "foundation/safe_access.h"
#include "foundation/text.h"

namespace heron {
namespace {

const py::Name kEnabled("enabled"), kHost("host"), kPortName("port"), kEraseSent("erase_sent");

}  // namespace

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
}

void expose_server_settings(const py::Scope& settings) {
  py::Class<ServerSettings>(settings, "Server",
                            "The server that a team shares.\n\n"
                            "Built from the JSON form, whose keys may be missing. The address is kept in the variable "
                            "HERON-SERVER of the process's environment, as \"host:port\".")
      .copies()
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
