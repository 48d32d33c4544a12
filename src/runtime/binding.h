#pragma once

#include <string>
#include <tuple>
#include <utility>

#include "runtime/convert.h"
#include "runtime/signature.h"

// How the runtime calls C++: for each operation, field and operator of an exposed class a function of the form that the
// runtime wants, made of a C++ member by a template.

namespace heron::py::detail {

/// Runs C++ code for the runtime: a C++ exception becomes a Python one. What else unwinds these frames must pass; see
/// runtime/process_end.h.
template <class F, class R = std::invoke_result_t<F>>
R guarded(F&& function, std::type_identity_t<R> failed) {
  try {
    return function();
  } catch (const std::exception&) {
    current_error().restore();
  }
  return failed;
}

// What a bound C++ function looks like: its class (void for a free one), its result, its arguments.
template <class F>
struct Shape;
template <class R, class C, class... A>
struct Shape<R (C::*)(A...)> {
  using Owner = C;
  using Result = R;
  using Arguments = std::tuple<std::decay_t<A>...>;
};
template <class R, class C, class... A>
struct Shape<R (C::*)(A...) const> : Shape<R (C::*)(A...)> {};
template <class R, class... A>
struct Shape<R (*)(A...)> {
  using Owner = void;
  using Result = R;
  using Arguments = std::tuple<std::decay_t<A>...>;
};
template <class R, class C>
struct Shape<R C::*> {
  using Owner = C;
  using Value = R;
};
template <auto F>
using ShapeOf = Shape<decltype(F)>;

/// One argument of a call as its C++ type, or TypeError with the operation's name.
template <class A>
A argument(const Signature& signature, const Signature::Bound& bound, std::size_t index) {
  PyObject* value = bound[index];
  if (!From<A>::fits(value)) {
    raise_type(signature.operation() + "() argument '" + signature.parameter(index) + "' must be " + From<A>::wanted() +
               ", not " + Object::borrow(value).type_name());
  }
  return From<A>::from(value);
}

/// Calls F on the value (none for a free function) with the bound arguments; the result as a Python object.
template <class T, auto F>
Object invoke(PyObject* self, const Signature& signature, const Signature::Bound& bound) {
  using S = ShapeOf<F>;
  const Object held = Object::borrow(self);  // Python code that runs meanwhile may let go of it
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    auto call = [&]() -> decltype(auto) {
      if constexpr (std::is_void_v<typename S::Owner>) {
        return F(argument<std::tuple_element_t<I, typename S::Arguments>>(signature, bound, I)...);
      } else {
        return (value_of<T>(self).*F)(argument<std::tuple_element_t<I, typename S::Arguments>>(signature, bound, I)...);
      }
    };
    if constexpr (std::is_void_v<typename S::Result>) {
      call();
      return Object::none();
    } else {
      return to_python(call());
    }
  }(std::make_index_sequence<std::tuple_size_v<typename S::Arguments>>());
}

/// An operation, as the runtime calls it. The runtime hands no closure to it, so the signature stands in the
/// class of the template.
template <class T, auto F>
struct Operation {
  static inline const Signature* signature = nullptr;

  static PyObject* call(PyObject* self, PyObject* const* arguments, Py_ssize_t count, PyObject* names) {
    return guarded([&] { return invoke<T, F>(self, *signature, signature->bind(arguments, count, names)).release(); },
                   nullptr);
  }
  /// The same with a tuple and a dict, for calls of the object itself.
  static PyObject* call_packed(PyObject* self, PyObject* arguments, PyObject* named) {
    return guarded([&] { return invoke<T, F>(self, *signature, signature->bind(arguments, named)).release(); },
                   nullptr);
  }
  /// A constructor. Others behind it in Python's order have their turn then.
  static int construct(PyObject* self, PyObject* arguments, PyObject* named) {
    return guarded(
        [&] {
          invoke<T, F>(self, *signature, signature->bind(arguments, named));
          initialise_others(self, TypeOf<T>::type);
          return 0;
        },
        -1);
  }
};

/// Makes an instance of a class derived from text: F takes the constructor's arguments and gives the text.
template <class T, auto F>
PyObject* create_text(PyTypeObject* type, PyObject* arguments, PyObject* named) {
  return guarded(
      [&] {
        const Signature& signature = *Operation<T, F>::signature;
        const Object text = invoke<T, F>(nullptr, signature, signature.bind(arguments, named));
        return new_instance(type, tuple({text}).get(), TypeOf<T>::layout);
      },
      nullptr);
}

/// An operation of the class itself; F takes the class before the bound arguments.
template <class T, auto F>
struct ClassOperation {
  using Arguments = typename ShapeOf<F>::Arguments;
  static constexpr std::size_t kBound = std::tuple_size_v<Arguments> - 1;
  static inline const Signature* signature = nullptr;

  static PyObject* call(PyObject* type, PyObject* const* arguments, Py_ssize_t count, PyObject* names) {
    return guarded([&] { return invoke(type, signature->bind(arguments, count, names)).release(); }, nullptr);
  }

 private:
  static Object invoke(PyObject* type, const Signature::Bound& bound) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      return to_python(
          F(Object::borrow(type), argument<std::tuple_element_t<I + 1, Arguments>>(*signature, bound, I)...));
    }(std::make_index_sequence<kBound>());
  }
};

[[noreturn]] inline void refuse_deletion(const std::string& name) {
  raise(PyExc_AttributeError, "cannot delete attribute '" + name + "'");
}

/// Runs an accessor or an operator for the runtime, which guards the depth of calls alone, and may let go of the object
/// meanwhile.
template <class T, class F, class R = std::invoke_result_t<F, T&>>
R guarded_slot(PyObject* self, const char* while_what, F&& function, std::type_identity_t<R> failed) {
  return guarded(
      [&] {
        const Object held = Object::borrow(self);
        const Depth depth(while_what);
        return function(value_of<T>(self));
      },
      failed);
}

template <class T, auto Get>
PyObject* get_accessor(PyObject* self, void*) {
  return guarded_slot<T>(
      self, " while a value is read", [](T& value) { return to_python((value.*Get)()).release(); }, nullptr);
}

template <class T, auto Set>
int set_accessor(PyObject* self, PyObject* value, void* name) {
  return guarded_slot<T>(
      self, " while a value is set",
      [&](T& target) {
        if (value == nullptr) refuse_deletion(static_cast<const char*>(name));
        (target.*Set)(Object::borrow(value));
        return 0;
      },
      -1);
}

template <class T, auto Field>
PyObject* get_field(PyObject* self, void*) {
  return guarded([&] { return to_python(value_of<T>(self).*Field).release(); }, nullptr);
}

template <class T, auto Field>
int set_field(PyObject* self, PyObject* value, void* name) {
  using V = typename ShapeOf<Field>::Value;
  return guarded_slot<T>(
      self, " while a value is set",
      [&](T& target) {
        const std::string field = static_cast<const char*>(name);
        if (value == nullptr) refuse_deletion(field);
        if (!From<V>::fits(value)) {
          raise_type("attribute '" + field + "' must be " + From<V>::wanted() + ", not " +
                     Object::borrow(value).type_name());
        }
        target.*Field = From<V>::from(value);
        return 0;
      },
      -1);
}

template <class T, auto F>
PyObject* text_slot(PyObject* self) {
  return guarded_slot<T>(
      self, " while a text is made", [](T& value) { return to_python((value.*F)()).release(); }, nullptr);
}

template <class T, auto F>
PyObject* iterate_slot(PyObject* self) {
  return guarded_slot<T>(
      self, " while an iterator is made", [](T& value) { return to_python((value.*F)()).release(); }, nullptr);
}

template <class T, auto F>
Py_ssize_t length_slot(PyObject* self) {
  return guarded_slot<T>(
      self, " while a length is asked", [](T& value) { return static_cast<Py_ssize_t>((value.*F)()); }, -1);
}

template <class T, auto F>
Py_hash_t hash_slot(PyObject* self) {
  return guarded_slot<T>(
      self, " while a hash is made",
      [](T& value) {
        const auto hash = static_cast<Py_hash_t>((value.*F)());
        return hash == -1 ? Py_hash_t{-2} : hash;  // -1 tells the runtime of an error
      },
      -1);
}

template <class T, auto F>
int contains_slot(PyObject* self, PyObject* item) {
  return guarded_slot<T>(
      self, " while an element is sought", [&](T& value) { return (value.*F)(Object::borrow(item)) ? 1 : 0; }, -1);
}

template <class T, auto F>
PyObject* equals_slot(PyObject* self, PyObject* other, int operation) {
  if (operation != Py_EQ && operation != Py_NE) {
    Py_IncRef(Py_NotImplemented);
    return Py_NotImplemented;
  }
  return guarded_slot<T>(
      self, " while objects are compared",
      [&](T& value) {
        const bool equal = (value.*F)(Object::borrow(other));
        return to_python(equal == (operation == Py_EQ)).release();
      },
      nullptr);
}

/// `left + right`; the runtime may call with our class on the right only.
template <class T, auto F>
PyObject* add_slot(PyObject* left, PyObject* right) {
  if (!is_instance<T>(left)) {
    Py_IncRef(Py_NotImplemented);
    return Py_NotImplemented;
  }
  return guarded_slot<T>(
      left, " while objects are added",
      [&](T& value) { return to_python((value.*F)(Object::borrow(right))).release(); }, nullptr);
}

/// `self += other`, which changes the object itself.
template <class T, auto F>
PyObject* add_in_place_slot(PyObject* self, PyObject* other) {
  return guarded_slot<T>(
      self, " while objects are added",
      [&](T& value) {
        (value.*F)(Object::borrow(other));
        return Object::borrow(self).release();
      },
      nullptr);
}

template <class T, auto F>
PyObject* item_slot(PyObject* self, PyObject* key) {
  return guarded_slot<T>(
      self, " while an element is read", [&](T& value) { return to_python((value.*F)(Object::borrow(key))).release(); },
      nullptr);
}

}  // namespace heron::py::detail
