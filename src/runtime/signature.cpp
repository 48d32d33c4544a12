#include "runtime/signature.h"

#include "runtime/containers.h"
#include "runtime/text.h"

namespace heron::py {
namespace {

/// The value of a default as it is written in Python.
Object evaluate(const std::string& literal) {
  if (literal == "None") return Object::none();
  if (literal == "True") return Object::borrow(Py_True);
  if (literal == "False") return Object::borrow(Py_False);
  if (literal == "()") return tuple({});
  if (literal.front() == '\'') return text(std::string_view(literal).substr(1, literal.size() - 2));
  const bool is_whole = literal.find_first_not_of("-0123456789") == std::string::npos;
  return Object::steal(is_whole ? PyLong_FromString(literal.c_str(), nullptr, 10)
                                : PyFloat_FromString(text(literal).get()));
}

}  // namespace

std::string Parameter::literal(const char* value) {
  // "()" stands for an empty tuple; every other text for itself (none of ours needs escapes).
  return std::string_view(value) == "()" ? "()" : "'" + std::string(value) + "'";
}

std::string Parameter::literal(double value) {
  return Utf8(Object::steal(PyObject_Repr(Object::steal(PyFloat_FromDouble(value)).get()))).str();
}

Signature::Signature(std::string operation, Parameters parameters)
    : operation_(std::move(operation)),
      parameters_(parameters),
      keywords_at_(parameters.size()),
      rest_at_(parameters.size()) {
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    const Parameter& parameter = parameters_[i];
    names_.push_back(Object::steal(PyUnicode_InternFromString(parameter.name())));
    defaults_.push_back(parameter.default_text().empty() ? Object() : evaluate(parameter.default_text()));
    switch (parameter.kind()) {
      case Parameter::Kind::kPlain:
        ++positional_;
        break;
      case Parameter::Kind::kRest:
        rest_at_ = i;
        takes_rest_ = true;
        break;
      case Parameter::Kind::kKeywords:
        keywords_at_ = i;
        break;
      case Parameter::Kind::kNamed:
        break;
    }
  }
}

Signature::Bound Signature::bind(PyObject* const* arguments, Py_ssize_t count, PyObject* names) const {
  Bound bound(parameters_.size());
  std::vector<Object> rest;
  for (Py_ssize_t i = 0; i < count; ++i) place(bound, static_cast<std::size_t>(i), arguments[i], rest);
  const Py_ssize_t named = names != nullptr ? PyTuple_Size(names) : 0;
  for (Py_ssize_t i = 0; i < named; ++i) place_named(bound, PyTuple_GetItem(names, i), arguments[count + i]);
  complete(bound, rest);
  return bound;
}

Signature::Bound Signature::bind(PyObject* arguments, PyObject* named) const {
  Bound bound(parameters_.size());
  std::vector<Object> rest;
  for (Py_ssize_t i = 0; i < PyTuple_Size(arguments); ++i) {
    place(bound, static_cast<std::size_t>(i), PyTuple_GetItem(arguments, i), rest);
  }
  PyObject *name = nullptr, *value = nullptr;
  for (Py_ssize_t position = 0; named != nullptr && PyDict_Next(named, &position, &name, &value) != 0;) {
    place_named(bound, name, value);
  }
  complete(bound, rest);
  return bound;
}

void Signature::place(Bound& bound, std::size_t position, PyObject* value, std::vector<Object>& rest) const {
  if (position < positional_) {
    bound.slots_[position] = value;
  } else if (takes_rest_) {
    rest.push_back(Object::borrow(value));
  } else {
    refuse("takes " + std::to_string(positional_) + " arguments at most");
  }
}

void Signature::place_named(Bound& bound, PyObject* name, PyObject* value) const {
  std::size_t index = parameters_.size();
  for (std::size_t i = 0; i < names_.size() && index == parameters_.size(); ++i) {
    if (names_[i].get() == name) index = i;
  }
  for (std::size_t i = 0; i < names_.size() && index == parameters_.size(); ++i) {
    if (checked(PyObject_RichCompareBool(names_[i].get(), name, Py_EQ)) != 0) index = i;
  }
  if (index < parameters_.size() && index != rest_at_ && index != keywords_at_) {
    if (bound.slots_[index] != nullptr) {
      refuse("got several values for argument '" + std::string(parameter(index)) + "'");
    }
    bound.slots_[index] = value;
  } else if (keywords_at_ < parameters_.size()) {
    if (!bound.keywords_) bound.keywords_ = Dict();
    checked(PyDict_SetItem(bound.keywords_.get(), name, value));
  } else {
    refuse("has no argument '" + Utf8(Object::borrow(name)).str() + "'");
  }
}

void Signature::complete(Bound& bound, const std::vector<Object>& rest) const {
  if (takes_rest_) {
    bound.rest_ = tuple(rest);
    bound.slots_[rest_at_] = bound.rest_.get();
  }
  if (keywords_at_ < parameters_.size()) {
    if (!bound.keywords_) bound.keywords_ = Dict();
    bound.slots_[keywords_at_] = bound.keywords_.get();
  }
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    if (bound.slots_[i] != nullptr) continue;
    if (!defaults_[i]) refuse("misses the argument '" + std::string(parameter(i)) + "'");
    bound.slots_[i] = defaults_[i].get();
  }
}

void Signature::refuse(const std::string& why) const { raise_type(operation_ + "() " + why); }

std::string Signature::text(const char* first) const {
  std::string text = first;
  for (const Parameter& parameter : parameters_) {
    if (!text.empty()) text += ", ";
    if (parameter.kind() == Parameter::Kind::kRest) text += '*';
    if (parameter.kind() == Parameter::Kind::kKeywords) text += "**";
    text += parameter.name();
    if (!parameter.default_text().empty()) text += "=" + parameter.default_text();
  }
  return "(" + text + ")";
}

}  // namespace heron::py
