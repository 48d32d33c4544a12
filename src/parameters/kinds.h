#pragma once

#include <initializer_list>

#include "runtime/instance.h"

namespace heron::kinds {

// What the constructors of inputs take. Anything else is a TypeError without a message; its notes name the argument,
// the value and what it must be.

struct Argument {
  const char* name;
  py::Object value;
};

void text(std::initializer_list<Argument> arguments);
void integer(std::initializer_list<Argument> arguments);  ///< A boolean is one.
void real(std::initializer_list<Argument> arguments);     ///< An integer is none.
void boolean(const Argument& argument);

[[noreturn]] void refuse(const Argument& argument, const std::string& wanted);

template <class T>
void instance(const Argument& argument) {
  if (!py::Ref<T>::holds(argument.value)) refuse(argument, "a " + py::label(py::TypeOf<T>::type));
}

}  // namespace heron::kinds
