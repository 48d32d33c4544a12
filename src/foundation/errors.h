#pragma once

#include "runtime/class.h"

namespace heron {

/// The exceptions of the system: each is a class of its own below the runtime's Exception, with a text of its own.
namespace errors {

/// An error whose text is always the same.
template <class E>
class Fixed {
 public:
  py::Object text() const { return py::text(E::kText); }
};

/// An error whose text ends in the name that it is about, if it is told one.
template <class E>
class Named {
 public:
  void init(const py::Text& name);
  py::Object text() const { return text_; }

  template <class V>
  void members(V& visit) {
    visit(text_);
  }

 private:
  py::Object text_ = py::text(E::kText);
};

struct WrongAttributeName : Named<WrongAttributeName> {
  static constexpr std::string_view kText = "Wrong Name for Attribute";
};
struct PrivateAttributeName : Named<PrivateAttributeName> {
  static constexpr std::string_view kText = "Used Private Name for Attribute";
};
struct AttributeNameRepeat : Fixed<AttributeNameRepeat> {
  static constexpr std::string_view kText = "Attribute Name Repeat";
};
struct ParameterInputType : Fixed<ParameterInputType> {
  static constexpr std::string_view kText = "Used Wrong Class Type in Parameter Block";
};
struct AccessQueueTimeout : Fixed<AccessQueueTimeout> {
  static constexpr std::string_view kText = "Await Time for File Access is Out";
};
struct NoFeedbackEmail : Fixed<NoFeedbackEmail> {
  static constexpr std::string_view kText = "Lost Email to Send Feedback Message";
};
/// What a check raises to report a finding: no failure of the check.
struct ValidationError : Fixed<ValidationError> {
  static constexpr std::string_view kText = "Check Task Found Issue";
};

/// Raises an error of this class, made from these arguments: `errors::raise<errors::WrongAttributeName>(name)`.
template <class E, class... A>
[[noreturn]] void raise(const A&... arguments) {
  const auto type = py::type_of<E>();
  PyErr_SetObject(type.get(), type(arguments...).get());
  throw py::Error();
}

/// Is it an error of this class, or of one derived from it?
template <class E>
bool is(const py::Error& error) {
  return error.matches(reinterpret_cast<PyObject*>(py::TypeOf<E>::type));
}

/// The same of the error that is on its way in the runtime.
template <class E>
bool is_pending() {
  return PyErr_ExceptionMatches(reinterpret_cast<PyObject*>(py::TypeOf<E>::type)) != 0;
}

}  // namespace errors

void expose_errors(const py::Scope& module);

}  // namespace heron
