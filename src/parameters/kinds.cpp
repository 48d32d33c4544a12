#include "parameters/kinds.h"

#include <algorithm>

namespace heron::kinds {
namespace {

template <class Test>
void require(std::initializer_list<py::Object> values, Test fits) {
  if (!std::ranges::all_of(values, fits)) py::raise_type();
}

}  // namespace

void text(std::initializer_list<py::Object> values) {
  require(values, [](const py::Object& value) { return value.is_text(); });
}

void integer(std::initializer_list<py::Object> values) {
  require(values, [](const py::Object& value) { return PyLong_Check(value.or_none()) != 0; });
}

void real(std::initializer_list<py::Object> values) {
  require(values, [](const py::Object& value) { return PyFloat_Check(value.or_none()) != 0; });
}

void boolean(const py::Object& value) {
  require({value}, [](const py::Object& one) { return PyBool_Check(one.or_none()) != 0; });
}

}  // namespace heron::kinds
