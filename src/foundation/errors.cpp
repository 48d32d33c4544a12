#include "foundation/errors.h"

#include "foundation/text.h"

namespace heron {
namespace errors {

template <class E>
void Named<E>::init(const py::Text& name) {
  const bool told = name.length() != 0;
  text_ = told ? format("{} - \"{}\"", {py::text(E::kText), name}) : py::text(E::kText);
  // Copies and pickles are made from `args`, which do not hold what was given by name.
  static const py::Name kArgs("args");
  py::object_of(static_cast<const E&>(*this)).set_attr(kArgs, told ? py::tuple({name}) : py::tuple({}));
}

}  // namespace errors

namespace {

template <class E>
void expose_fixed(const py::Scope& scope, const char* name, const char* doc) {
  py::Class<E>(scope, name, doc).derives(PyExc_Exception).template text<&E::text>().done();
}

template <class E>
void expose_named(const py::Scope& scope, const char* name, const char* doc) {
  py::Class<E>(scope, name, doc)
      .derives(PyExc_Exception)
      .template init<&E::init>({{"name", ""}})
      .template text<&E::text>()
      .template accessor<&E::text>("_text", "str: What `str` gives.")
      .done();
}

}  // namespace

void expose_errors(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(module, "Error", "The exceptions of the system.");
  expose_named<errors::WrongAttributeName>(scope, "WrongAttributeName", "An attribute name that is no identifier.");
  expose_named<errors::PrivateAttributeName>(scope, "PrivateAttributeName",
                                             "An attribute name that begins with two underscores.");
  expose_fixed<errors::AttributeNameRepeat>(scope, "AttributeNameRepeat", "Two inputs have one attribute name.");
  expose_fixed<errors::ParameterInputType>(scope, "ParameterInputType", "A parameter block holds what is no input.");
  expose_fixed<errors::AccessQueueTimeout>(scope, "AccessQueueTimeout", "A document stayed in use for too long.");
  expose_fixed<errors::NoFeedbackEmail>(scope, "NoFeedbackEmail", "There is no address to send feedback to.");
  expose_fixed<errors::ValidationError>(scope, "ValidationError",
                                        "An issue found while the validation runs. A check raises it to report a "
                                        "finding, which is no failure of the check.");
}

}  // namespace heron
