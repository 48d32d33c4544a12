#pragma once

#include "runtime/class.h"

namespace heron {

/// The local store of the records of use: in memory, and in a file that several processes may share.
class Statistics {
 public:
  static constexpr int kVersion = 1;

  void init(const py::Object& environment);

  void add(const py::Object& record) const;
  void keep(const py::Object& category, const py::Object& entry) const;  ///< The same of what the record says.
  void write(bool clear);
  py::Object create_http_request(const py::Object& username) const;
  void accept_http_response(const py::Object& response, bool clear);

  py::Dict read();
  void ensure_attributes() const;
  void extend(const py::Dict& document) const;
  void clear() const;

  py::Object mutex, path;  ///< The mutex guards `data`. It is taken before the file's queue, never after.
  py::Dict data;
  py::Object ignored = py::tuple({});  ///< Members of the file of which not all could be used.
  py::Object read_error, write_error;  ///< Of the last of each; none where it went well.

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&mutex, &path, &ignored, &read_error, &write_error}) visit(*field);
    visit(data);
  }
};

void expose_statistics(const py::Scope& module);

}  // namespace heron
