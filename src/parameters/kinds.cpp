#include "parameters/kinds.h"

#include "foundation/failure.h"
#include "foundation/text.h"

namespace heron::kinds {
namespace {

template <class Test>
void require(std::initializer_list<Argument> arguments, const char* wanted, Test fits) {
  for (const Argument& argument : arguments) {
    if (!fits(argument.value)) refuse(argument, wanted);
  }
}

}  // namespace

void refuse(const Argument& argument, const std::string& wanted) {
  failure::raise_type(
      format("\"{}\" must be {}, not {}", {py::text(argument.name), py::text(wanted), failure::shown(argument.value)}));
}

void text(std::initializer_list<Argument> arguments) {
  require(arguments, "a str", [](const py::Object& value) { return value.is_text(); });
}

void integer(std::initializer_list<Argument> arguments) {
  require(arguments, "an int", [](const py::Object& value) { return PyLong_Check(value.or_none()) != 0; });
}

void real(std::initializer_list<Argument> arguments) {
  require(arguments, "a float", [](const py::Object& value) { return PyFloat_Check(value.or_none()) != 0; });
}

void boolean(const Argument& argument) {
  require({argument}, "a bool", [](const py::Object& value) { return PyBool_Check(value.or_none()) != 0; });
}

}  // namespace heron::kinds
