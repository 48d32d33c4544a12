#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "runtime/containers.h"
#include "runtime/instance.h"
#include "runtime/text.h"

namespace heron::py {

/// A Python text as an argument: anything else is refused.
class Text : public Object {
 public:
  Text() = default;
  explicit Text(Object object) : Object(std::move(object)) {
    if (!is_text()) raise_type(std::string("str expected, not ") + type_name());
  }
};

/// Anything that can be walked over, as an argument: anything else is refused.
class Iterable : public Object {
 public:
  Iterable() = default;
  Iterable(const List& list) : Object(list) {}  // NOLINT(google-explicit-constructor): a list always is one
  explicit Iterable(Object object) : Object(std::move(object)) {
    if (!fits(pointer_)) raise_type(std::string("an iterable expected, not ") + type_name());
  }
  static bool fits(PyObject* object) {
    return PySequence_Check(object) != 0 || PyType_GetSlot(Py_TYPE(object), Py_tp_iter) != nullptr;
  }
};

// Python to C++. `fits` asks, `wanted` says what was, for the message where a value does not fit; `from` takes a value
// that fits.

template <class T>
struct From;

template <>
struct From<Object> {
  static bool fits(PyObject*) { return true; }
  static Object from(PyObject* object) { return Object::borrow(object); }
  static std::string wanted() { return "anything"; }
};

template <>
struct From<Text> {
  static bool fits(PyObject* object) { return PyUnicode_Check(object); }
  static Text from(PyObject* object) { return Text(Object::borrow(object)); }
  static std::string wanted() { return "str"; }
};

template <>
struct From<Iterable> {
  static bool fits(PyObject* object) { return Iterable::fits(object); }
  static Iterable from(PyObject* object) { return Iterable(Object::borrow(object)); }
  static std::string wanted() { return "an iterable"; }
};

template <>
struct From<std::string> {
  static bool fits(PyObject* object) { return PyUnicode_Check(object); }
  static std::string from(PyObject* object) { return Utf8(Object::borrow(object)).str(); }
  static std::string wanted() { return "str"; }
};

template <>
struct From<bool> {
  static bool fits(PyObject*) { return true; }
  static bool from(PyObject* object) { return checked(PyObject_IsTrue(object)) != 0; }
  static std::string wanted() { return "bool"; }
};

template <>
struct From<List> {
  static bool fits(PyObject* object) { return PyList_Check(object); }
  static List from(PyObject* object) { return List(Object::borrow(object)); }
  static std::string wanted() { return "list"; }
};

template <>
struct From<Dict> {
  static bool fits(PyObject* object) { return PyDict_Check(object); }
  static Dict from(PyObject* object) { return Dict(Object::borrow(object)); }
  static std::string wanted() { return "dict"; }
};

template <std::signed_integral T>
struct From<T> {
  static bool fits(PyObject* object) { return PyLong_Check(object); }
  static T from(PyObject* object) {
    const Py_ssize_t number = PyLong_AsSsize_t(object);
    if (number == -1 && PyErr_Occurred() != nullptr) throw Error();
    return static_cast<T>(number);
  }
  static std::string wanted() { return "int"; }
};

template <>
struct From<double> {
  static bool fits(PyObject* object) { return PyNumber_Check(object) != 0; }
  static double from(PyObject* object) {
    const double number = PyFloat_AsDouble(object);
    if (number == -1.0 && PyErr_Occurred() != nullptr) throw Error();
    return number;
  }
  static std::string wanted() { return "a number"; }
};

template <class T>
struct From<Ref<T>> {
  static bool fits(PyObject* object) { return is_instance<T>(object); }
  static Ref<T> from(PyObject* object) { return Ref<T>(Object::borrow(object)); }
  static std::string wanted() { return label(TypeOf<T>::type); }
};

template <class T>
struct From<RefOrNone<T>> {
  static bool fits(PyObject* object) { return object == Py_None || is_instance<T>(object); }
  static RefOrNone<T> from(PyObject* object) {
    return object == Py_None ? RefOrNone<T>() : RefOrNone<T>(Ref<T>(Object::borrow(object)));
  }
  static std::string wanted() { return label(TypeOf<T>::type) + " or None"; }
};

// C++ to Python.

inline Object to_python(const Object& object) { return object ? object : Object::none(); }
inline Object to_python(std::nullptr_t) { return Object::none(); }
template <std::same_as<bool> B>
Object to_python(B value) {
  return Object::borrow(value ? Py_True : Py_False);
}
template <std::integral T>
  requires(!std::same_as<T, bool>)
Object to_python(T value) {
  return Object::steal(PyLong_FromSsize_t(static_cast<Py_ssize_t>(value)));
}
inline Object to_python(double value) { return Object::steal(PyFloat_FromDouble(value)); }
inline Object to_python(std::string_view value) { return text(value); }
inline Object to_python(const std::string& value) { return text(value); }
inline Object to_python(const char* value) { return text(value); }

}  // namespace heron::py
