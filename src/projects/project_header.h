#pragma once

#include "runtime/class.h"

namespace heron {

/// What a list of projects shows of one.
class ProjectHeader {
 public:
  void init(const py::Object& project);
  py::Object text() const;

  py::Object name, filename, edit_timestamp, compatible;

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&name, &filename, &edit_timestamp, &compatible}) visit(*field);
  }
};

/// Puts `Header` into `_Project`.
void expose_project_header(const py::Scope& project);

}  // namespace heron
