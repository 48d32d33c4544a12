#pragma once

#include "runtime/class.h"

namespace heron {

/// Asks the server whether it has a newer version.
class UpdateTracker {
 public:
  static bool is_version(const py::Object& string);
  static py::Object clean_version(const py::Text& string);
  static bool is_above_version(const py::Text& lower, const py::Text& upper);

  void init(const py::Object& api, const py::Iterable& local_version);

  bool exist();

  py::Object handle_version(const py::Iterable& value) const;
  py::Object get_version_response() const;  ///< The server's version, or None.

  py::Object urls, local_version;
  py::Object remote_version = py::Object::none();  ///< The last answer.
  bool accepted = false;

  template <class V>
  void members(V& visit) {
    visit(urls);
    visit(local_version);
    visit(remote_version);
  }

 private:
  py::Object ask_server(const py::Object& host) const;
};

void expose_update_tracker(const py::Scope& module);

}  // namespace heron
