#pragma once

#include "runtime/class.h"

namespace heron {

/// Makes the requests to the shared server, and applies its answers. The front-end carries them.
class ServerExchange {
 public:
  void init(const py::Object& api_);

  py::Object projects_request() const;
  void projects_response(const py::Object& response);
  py::Object statistics_request() const;
  void statistics_response(const py::Object& response) const;
  void no_response() const;

  py::Object api, last_projects;

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(last_projects);
  }

 private:
  void accept(const py::Object& projects) const;
  void fire(const py::Name& event) const;
};

/// Puts `_Http` into `Api`.
void expose_server_exchange(const py::Scope& api);

}  // namespace heron
