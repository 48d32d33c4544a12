#include "runtime/signature.h"

#include "runtime/containers.h"
#include "runtime/text.h"

namespace heron::py {
namespace {

/// "'a'", "'a' and 'b'", "'a', 'b', and 'c'".
std::string enumerate(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += names.size() == 2 ? " and " : i + 1 == names.size() ? ", and " : ", ";
    text += "'" + names[i] + "'";
  }
  return text;
}

std::string plural(std::size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace

Signature::Signature(std::string operation, Parameters parameters)
    : operation_(std::move(operation)),
      parameters_(parameters),
      keywords_at_(parameters.size()),
      rest_at_(parameters.size()) {
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    const Parameter& parameter = parameters_[i];
    names_.push_back(Object::steal(PyUnicode_InternFromString(parameter.name())));
    switch (parameter.kind()) {
      case Parameter::Kind::kPlain:
        ++positional_;
        if (!parameter.otherwise()) ++required_;
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
  refuse_surplus(static_cast<std::size_t>(count));
  for (Py_ssize_t i = 0; i < count; ++i) place(bound, static_cast<std::size_t>(i), arguments[i], rest);
  const Py_ssize_t named = names != nullptr ? PyTuple_Size(names) : 0;
  for (Py_ssize_t i = 0; i < named; ++i) place_named(bound, PyTuple_GetItem(names, i), arguments[count + i]);
  complete(bound, rest);
  return bound;
}

Signature::Bound Signature::bind(PyObject* arguments, PyObject* named) const {
  Bound bound(parameters_.size());
  std::vector<Object> rest;
  refuse_surplus(static_cast<std::size_t>(PyTuple_Size(arguments)));
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

void Signature::refuse_surplus(std::size_t given) const {
  if (takes_rest_ || given <= positional_) return;
  const std::string least = required_ < positional_ ? "from " + std::to_string(required_) + " to " : "";
  refuse("takes " + least + plural(positional_, "positional argument") + " but " + std::to_string(given) +
         (given == 1 ? " was given" : " were given"));
}

void Signature::place(Bound& bound, std::size_t position, PyObject* value, std::vector<Object>& rest) const {
  if (position < positional_) {
    bound.slots_[position] = value;
  } else {
    rest.push_back(Object::borrow(value));
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
      refuse("got multiple values for argument '" + std::string(parameter(index)) + "'");
    }
    bound.slots_[index] = value;
  } else if (keywords_at_ < parameters_.size()) {
    if (!bound.keywords_) bound.keywords_ = Dict();
    checked(PyDict_SetItem(bound.keywords_.get(), name, value));
  } else {
    refuse("got an unexpected keyword argument '" + Utf8(Object::borrow(name)).str() + "'");
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
    if (!parameters_[i].otherwise()) refuse_missing(bound);
    bound.slots_[i] = parameters_[i].otherwise().get();
  }
}

void Signature::refuse_missing(const Bound& bound) const {
  std::vector<std::string> missing;
  for (std::size_t i = 0; i < parameters_.size(); ++i) {
    if (bound.slots_[i] == nullptr && !parameters_[i].otherwise()) missing.emplace_back(parameter(i));
  }
  refuse("missing " + plural(missing.size(), "required positional argument") + ": " + enumerate(missing));
}

void Signature::refuse(const std::string& why) const { raise_type(operation_ + "() " + why); }

std::string Signature::text(const char* first) const {
  std::string text = first;
  for (const Parameter& parameter : parameters_) {
    if (!text.empty()) text += ", ";
    if (parameter.kind() == Parameter::Kind::kRest) text += '*';
    if (parameter.kind() == Parameter::Kind::kKeywords) text += "**";
    text += parameter.name();
    if (parameter.otherwise()) text += "=" + Utf8(Object::steal(PyObject_Repr(parameter.otherwise().get()))).str();
  }
  return "(" + text + ")";
}

}  // namespace heron::py
