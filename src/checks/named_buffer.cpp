#include "checks/named_buffer.h"

namespace heron {

void NamedBuffer::init(const py::Object& label, const py::Iterable& elements) {
  name = label;
  items().extend(elements);
}

void expose_named_buffer(const py::Scope& structure) {
  py::Class<NamedBuffer>(structure, "NamedBuffer", "A list with a name, in which a check puts what it finds.")
      .copies()
      .derives(reinterpret_cast<PyObject*>(&PyList_Type))
      .init<&NamedBuffer::init>({{"name", ""}, {"items", py::tuple({})}})
      .operation<&NamedBuffer::clear>("clear", "Removes all elements, one at a time from the end.")
      .accessor<&NamedBuffer::length>("length", "int: The number of elements.")
      .accessor<&NamedBuffer::is_empty>("is_empty", "bool: Whether there is no element.")
      .operation<&NamedBuffer::has_issues>("has_issues", "Whether there is an element.")
      .field<&NamedBuffer::name>("name", "str: What the elements are.")
      .done();
}

}  // namespace heron
