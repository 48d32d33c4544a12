#pragma once

#include "runtime/class.h"

namespace heron {

/// The server that a team shares. Its address is also told to code in the same process.
class ServerSettings {
 public:
  void init(const py::Object& data);

  py::Dict data() const;  ///< The JSON form.
  const py::Object& host() const { return host_; }
  const py::Object& port() const { return port_; }
  void set_host(const py::Object& value);
  void set_port(const py::Object& value);
  void set_environment() const;  ///< Puts "host:port" into the environment of the process.

  py::Object enabled = py::to_python(false);
  py::Object erase_sent = py::to_python(false);

  template <class V>
  void members(V& visit) {
    visit(enabled);
    visit(host_);
    visit(port_);
    visit(erase_sent);
  }

 private:
  static constexpr int kPort = 8080;

  py::Object host_ = py::text("localhost");
  py::Object port_ = py::to_python(kPort);
};

/// Puts `Server` into `_Settings`.
void expose_server_settings(const py::Scope& settings);

}  // namespace heron
