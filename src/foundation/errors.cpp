#include "foundation/errors.h"

#include <string>

#include "foundation/text.h"

namespace heron {
namespace {

// Each class has a fixed text. The C++ types differ only by that text, so that each can be exposed as its own class.

template <const char* const& kText>
class FixedError {
 public:
  py::Object text() const { return py::text(kText); }
};

/// An error about an attribute's name, which it quotes where it is known.
template <const char* const& kText>
class NameError {
 public:
  void init(const py::Object& name) {
    text_ = name.truth() ? heron::format(std::string(kText) + " - \"{}\"", {name}) : py::text(kText);
  }
  py::Object text() const { return text_; }

  py::Object text_ = py::text(kText);

  template <class V>
  void members(V& visit) {
    visit(text_);
  }
};

constexpr const char* kWrongAttributeName = "Wrong Name for Attribute";
constexpr const char* kPrivateAttributeName = "Used Private Name for Attribute";
constexpr const char* kAttributeNameRepeat = "Attribute Name Repeat";
constexpr const char* kParameterInputType = "Used Wrong Class Type in Parameter Block";
constexpr const char* kAccessQueueTimeout = "Await Time for File Access is Out";
constexpr const char* kNoFeedbackEmail = "Lost Email to Send Feedback Message";
constexpr const char* kValidationError = "Check Task Found Issue";

using WrongAttributeName = NameError<kWrongAttributeName>;
using PrivateAttributeName = NameError<kPrivateAttributeName>;

template <const char* const& kText>
void expose_fixed(const py::Scope& scope, const char* name, const char* doc) {
  using E = FixedError<kText>;
  py::Class<E>(scope, name, doc).derives(PyExc_Exception).template text<&E::text>().done();
}

template <class E>
void expose_named(const py::Scope& scope, const char* name, const char* doc) {
  py::Class<E>(scope, name, doc)
      .derives(PyExc_Exception)
      .template init<&E::init>({{"name", ""}})
      .template text<&E::text>()
      .template readonly<&E::text_>("_text", "The text, with the name if it is known.")
      .done();
}

template <class E>
[[noreturn]] void raise_named(const py::Object& name) {
  const py::Object type = py::Object::borrow(reinterpret_cast<PyObject*>(py::TypeOf<E>::type));
  PyErr_SetObject(type.get(), type(name).get());
  throw py::Error();
}

}  // namespace

void errors::wrong_attribute_name(const py::Object& name) { raise_named<WrongAttributeName>(name); }
void errors::private_attribute_name(const py::Object& name) { raise_named<PrivateAttributeName>(name); }

void expose_errors(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(module, "Error", "The system's own exceptions, each with a fixed text.");
  expose_named<WrongAttributeName>(scope, "WrongAttributeName", "An attribute name that is none.");
  expose_named<PrivateAttributeName>(scope, "PrivateAttributeName", "An attribute name with two low lines first.");
  expose_fixed<kAttributeNameRepeat>(scope, "AttributeNameRepeat", "Two inputs with one attribute name.");
  expose_fixed<kParameterInputType>(scope, "ParameterInputType", "Something that is no input in a parameter block.");
  expose_fixed<kAccessQueueTimeout>(scope, "AccessQueueTimeout", "A document that stayed in use for too long.");
  expose_fixed<kNoFeedbackEmail>(scope, "NoFeedbackEmail", "A feedback message without an address.");
  expose_fixed<kValidationError>(scope, "ValidationError",
                                 "Issue found while validation process: a finding of a check, not a defect of it.");
}

}  // namespace heron
