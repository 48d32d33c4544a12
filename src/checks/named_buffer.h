#pragma once

#include "runtime/class.h"

namespace heron {

/// A list with a name, in which a check puts what it finds.
class NamedBuffer {
 public:
  void init(const py::Object& label, const py::Iterable& elements);

  py::List items() const { return py::List(py::object_of(*this)); }
  void clear() const { items().clear(); }
  Py_ssize_t length() const { return items().size(); }
  bool is_empty() const { return items().empty(); }
  bool has_issues() const { return !is_empty(); }

  py::Object name = py::text("");

  template <class V>
  void members(V& visit) {
    visit(name);
  }
};

void expose_named_buffer(const py::Scope& structure);

}  // namespace heron
