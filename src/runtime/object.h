#pragma once

#include <array>
#include <concepts>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "runtime/process_end.h"
#include "runtime/python.h"

namespace heron::py {

/// A text of the source code that is used as a name: made once, interned, and never released.
class Name {
 public:
  constexpr explicit Name(const char* text) : text_(text) {}
  PyObject* get() const;
  const char* text() const { return text_; }

 private:
  const char* text_;
  mutable PyObject* interned_ = nullptr;
};

/// An owning reference to a Python object, or to none. Where an object is needed, none stands for Python's None, so
/// that an instance whose constructor never ran is as safe as any other.
///
/// This reference may stand in a field that Python code replaces: whoever hands an object to the runtime holds it for
/// the call. All operations here and of the containers do. `get` is for calls that run no Python code and make no
/// container, for which the collector may run finalisers; and for references in local variables.
///
/// References are counted through functions and not through the inline forms of the headers: those of older
/// headers make the immortal objects of newer runtimes drift.
class Object {
 public:
  Object() noexcept : pointer_(nullptr) {}
  Object(const Object& other) : pointer_(other.pointer_) { Py_IncRef(pointer_); }
  Object(Object&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  Object& operator=(Object other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~Object() {
    if (pointer_ != nullptr) give_back(pointer_);
  }

  static Object steal(PyObject* pointer);   ///< Takes a new reference over; none means a pending error: throws it.
  static Object borrow(PyObject* pointer);  ///< Adds a reference.
  static Object none() { return borrow(Py_None); }

  PyObject* get() const { return pointer_; }
  PyObject* or_none() const { return pointer_ != nullptr ? pointer_ : Py_None; }
  PyObject* release() { return std::exchange(pointer_, nullptr); }
  explicit operator bool() const { return pointer_ != nullptr; }

  bool is(const Object& other) const { return pointer_ == other.pointer_; }
  bool is_none() const { return pointer_ == nullptr || pointer_ == Py_None; }
  bool is_text() const { return pointer_ != nullptr && PyUnicode_Check(pointer_); }
  bool truth() const;                       ///< What a test in Python says; nothing is false.
  bool equals(const Object& other) const;   ///< Python's `==`.
  bool is_less(const Object& other) const;  ///< Python's `<`.
  Py_hash_t hash() const;                   ///< Python's `hash`.
  Py_ssize_t length() const;                ///< Python's `len`.
  std::string type_name() const;            ///< Short name of the type, for messages.

  Object item(const Object& key) const;  ///< Python's `object[key]`.
  void set_item(const Object& key, const Object& value) const;
  Object iterate() const;  ///< Python's `iter`.
  Object string() const;   ///< Python's `str`.

  Object attr(const Name& name) const;
  Object attr(const Name& name, const Object& otherwise) const;  ///< `otherwise` where there is no such attribute.
  void set_attr(const Name& name, const Object& value) const;
  void set_attr(const Object& name, const Object& value) const;  ///< TypeError unless the name is text.

  /// Calls the object, or its operation of this name, with positional arguments. All of them are held meanwhile: they
  /// may stand in fields of an object that the call, or the look-up of the name, changes.
  template <std::convertible_to<Object>... A>
  Object operator()(const A&... arguments) const;
  template <std::convertible_to<Object>... A>
  Object call(const Name& name, const A&... arguments) const;
  /// Calls the object with a tuple of arguments and a dict of named ones (or none).
  Object apply(const Object& arguments, const Object& named = {}) const;

 protected:
  PyObject* pointer_;

 private:
  static void give_back(PyObject* pointer);
};

/// References that are kept for the time of a call.
template <std::size_t N>
class Held {
 public:
  template <class... A>
  explicit Held(const A&... objects) : objects_{static_cast<const Object&>(objects)...} {}

  template <class F>
  Object apply(F&& function) const {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      return Object::steal(function(objects_[I].or_none()...));
    }(std::make_index_sequence<N>());
  }

 private:
  std::array<Object, N> objects_;
};
template <class... A>
Held(const A&...) -> Held<sizeof...(A)>;

template <std::convertible_to<Object>... A>
Object Object::operator()(const A&... arguments) const {
  return Held(*this, arguments...).apply([](auto*... all) { return PyObject_CallFunctionObjArgs(all..., nullptr); });
}

template <std::convertible_to<Object>... A>
Object Object::call(const Name& name, const A&... arguments) const {
  return Held(*this, arguments...).apply([&](PyObject* object, auto*... given) {
    return PyObject_CallMethodObjArgs(object, name.get(), given..., nullptr);
  });
}

/// A Python exception on its way through C++.
class Error : public std::exception {
 public:
  Error();  ///< Takes over the pending error.

  void restore() const;                                         ///< Makes it the pending error again.
  bool matches(PyObject* type) const;                           ///< Is it of this exception class?
  bool is_failure() const { return matches(PyExc_Exception); }  ///< And no interrupt or exit, which must pass.
  const Object& value() const { return value_; }
  const char* what() const noexcept override { return "a Python exception"; }

 private:
  Object type_, value_, trace_;
};

/// The C++ exception that is being handled, whatever it is, as a Python one. For use in a catch clause.
Error current_error();

/// Raise a Python exception of this class with this message.
[[noreturn]] void raise(PyObject* type, const std::string& message);
[[noreturn]] void raise_type(const std::string& message);
[[noreturn]] void raise_type();                           ///< Without a message.
[[noreturn]] void raise_object(const Object& exception);  ///< This very exception, with a trace that begins here.
[[noreturn]] void raise_value(const std::string& message);

/// Throws the pending error if a call of the C interface says so by a negative result.
inline int checked(int result) {
  if (result < 0) throw Error();
  return result;
}

/// Guards a recursion over a structure from outside: RecursionError instead of an overflow of the stack.
///
/// The runtime's own guard is not enough: newer runtimes let ten thousand calls pass, which is too many for the
/// frames of an unoptimised build.
class Depth {
 public:
  explicit Depth(const char* where);
  ~Depth();
  Depth(const Depth&) = delete;
  Depth& operator=(const Depth&) = delete;
};

}  // namespace heron::py
