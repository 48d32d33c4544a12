#pragma once

#include "runtime/class.h"

namespace heron {

/// One item of a scanned hierarchy: a scene object and the rule that it matched.
class DataJoint {
 public:
  void init(const py::Object& stamp, const py::Object& name, const py::Object& path, const py::Object& type,
            const py::Object& children, const py::Object& icon, const py::Object& color);

  bool is_ghost() const;
  bool equals(const py::Object& other) const;
  Py_hash_t hash() const;
  py::Dict data() const;

  py::Object stamp, name, path, type, icon, color;
  py::Object children = py::List();

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&stamp, &name, &path, &type, &icon, &color, &children}) visit(*field);
  }
};

void expose_joint(const py::Scope& buffer);

}  // namespace heron
