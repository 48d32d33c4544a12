#pragma once

#include "runtime/class.h"

namespace heron {

/// Translates the object types of one host into the system's own.
class TypeMapping {
 public:
  void init(const py::Object& table);

  py::Object get(const py::Object& name) const;
  bool exist(const py::Object& name) const;

  py::Dict table;                                            ///< Host type to system type.
  py::Object types = py::Object::steal(PySet_New(nullptr));  ///< The system types that the host can produce.

  template <class V>
  void members(V& visit) {
    visit(table);
    visit(types);
  }
};

void expose_type_mapping(const py::Scope& module);

}  // namespace heron
