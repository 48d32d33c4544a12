#pragma once

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "runtime/copying.h"

namespace heron::py {

/// Something with a name in which classes stand: the module, or a class.
class Scope {
 public:
  Scope(Object object, std::string module, std::string qualified)
      : object_(std::move(object)), module_(std::move(module)), qualified_(std::move(qualified)) {}
  explicit Scope(Object module);

  const Object& object() const { return object_; }
  const std::string& module() const { return module_; }
  std::string qualify(const char* name) const { return qualified_.empty() ? name : qualified_ + "." + name; }
  void set(const char* name, const Object& value) const { object_.set_attr(Name(name), value); }

 private:
  Object object_;
  std::string module_, qualified_;
};

/// The scope of a class that is exposed already.
template <class T>
Scope scope_of();

/// A class that only holds others and is never instantiated.
Scope make_namespace(const Scope& outer, const char* name, const char* doc);

namespace detail {

/// Puts the signature of a binding into its place, for the life of the process, like the type. SystemError for
/// parameters that are not the function's, and for a function that is bound under another name already: the runtime
/// tells a call nothing of its name, so both would have the last one's defaults and errors.
void keep_signature(const Signature*& place, const char* name, Parameters parameters, std::size_t arguments);

/// What is gathered for a class until its type is made; the part of the builder that needs no template.
class TypeParts {
 public:
  TypeParts(const Scope& outer, const char* name, const char* doc);

  void base(PyTypeObject* type) { base_ = type; }
  void seal() { sealed_ = true; }
  void constructor(const Signature& signature, initproc init);
  void method(const char* name, const Signature& signature, void* function, int kind, const char* doc);
  void accessor(const char* name, getter get, setter set, const char* doc);
  void copies(PyCFunction get_state, PyCFunction set_state);
  void no_copies(PyCFunction reduce);
  void slot(int id, void* function) { slots_.push_back({id, function}); }
  template <class F>
  void slot(int id, F* function) {
    slot(id, reinterpret_cast<void*>(function));
  }
  void attribute(const char* name, Object value) { attributes_.emplace_back(name, std::move(value)); }

  /// Decides the layout of the instances, from the base and the C++ value's size, and gives their size.
  Py_ssize_t lay_out(Layout& layout, std::size_t size, std::size_t alignment, const Layout* shared) const;
  /// Makes the type and puts it into its scope.
  PyTypeObject* make(const Layout& layout, Py_ssize_t size);

 private:
  const Scope& outer_;
  const char* name_;
  std::string doc_;
  PyTypeObject* base_;
  bool sealed_ = false;
  bool has_constructor_ = false;
  bool tells_of_copies_ = false;
  std::string signature_;
  std::vector<PyMethodDef> methods_;
  std::vector<PyGetSetDef> accessors_;
  std::vector<PyType_Slot> slots_;
  std::vector<std::pair<const char*, Object>> attributes_;
};

}  // namespace detail

/// Exposes T as a class: a line for each member, then `done`. B is the exposed C++ base class, if there is one.
template <class T, class B = void>
class Class {
 public:
  Class(const Scope& outer, const char* name, const char* doc) : parts_(outer, name, doc), outer_(outer), name_(name) {
    if constexpr (!std::is_void_v<B>) {
      static_assert(std::is_base_of_v<B, T>);
      parts_.base(TypeOf<B>::type);
    }
  }

  /// Derives the class from one of the runtime's own, list or an exception, or from the system's text.
  Class& derives(PyObject* base) {
    parts_.base(reinterpret_cast<PyTypeObject*>(base));
    return *this;
  }

  /// Instances take no attributes beyond the members given here.
  Class& sealed() {
    parts_.seal();
    return *this;
  }

  template <auto F>
  Class& init(Parameters parameters) {
    parts_.constructor(sign<F>(name_, parameters), &detail::Operation<T, F>::construct);
    return *this;
  }

  /// The same for a class derived from text, which has to be known when an instance is made: Text, a free function,
  /// takes the same arguments and gives it.
  template <auto F, auto Text>
  Class& init(Parameters parameters) {
    sign<Text>(name_, parameters);
    create_ = &detail::create_text<T, Text>;
    return init<F>(parameters);
  }

  template <auto F>
  Class& operation(const char* name, Parameters parameters, const char* doc) {
    parts_.method(name, sign<F>(name, parameters), entry<F>(), 0, doc);
    return *this;
  }
  template <auto F>
  Class& operation(const char* name, const char* doc) {
    return operation<F>(name, {}, doc);
  }

  /// An operation of the class that needs no instance.
  template <auto F>
  Class& static_operation(const char* name, Parameters parameters, const char* doc) {
    parts_.method(name, sign<F>(name, parameters), entry<F>(), METH_STATIC, doc);
    return *this;
  }

  /// An operation of the class itself; F takes the class, which may be one derived in Python, first.
  template <auto F>
  Class& class_operation(const char* name, Parameters parameters, const char* doc) {
    using Call = detail::ClassOperation<T, F>;
    detail::keep_signature(Call::signature, name, parameters, Call::kBound);
    parts_.method(name, *Call::signature, reinterpret_cast<void*>(&Call::call), METH_CLASS, doc);
    return *this;
  }

  template <auto Get>
  Class& accessor(const char* name, const char* doc) {
    parts_.accessor(name, &detail::get_accessor<T, Get>, nullptr, doc);
    return *this;
  }
  template <auto Get, auto Set>
  Class& accessor(const char* name, const char* doc) {
    parts_.accessor(name, &detail::get_accessor<T, Get>, &detail::set_accessor<T, Set>, doc);
    return *this;
  }

  template <auto Field>
  Class& field(const char* name, const char* doc) {
    parts_.accessor(name, &detail::get_field<T, Field>, &detail::set_field<T, Field>, doc);
    return *this;
  }
  /// A field that is only read from Python.
  template <auto Field>
  Class& readonly(const char* name, const char* doc) {
    parts_.accessor(name, &detail::get_field<T, Field>, nullptr, doc);
    return *this;
  }

  // Each class says one of these two, but exceptions, which the runtime copies.

  /// `copy` and `pickle` make new instances with the same fields and attributes, without a call of the constructor.
  Class& copies() {
    parts_.copies(&detail::Copying<T>::get_state, &detail::Copying<T>::set_state);
    return *this;
  }
  /// `copy` and `pickle` raise TypeError with this reason.
  Class& no_copies(const char* why) {
    detail::NoCopies<T>::why = why;
    parts_.no_copies(&detail::NoCopies<T>::reduce);
    return *this;
  }

  Class& attribute(const char* name, Object value) {
    parts_.attribute(name, std::move(value));
    return *this;
  }

  // The operations behind Python's operators and built-in functions.
  template <auto F>
  Class& length() {
    parts_.slot(Py_sq_length, &detail::length_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& iterate() {
    parts_.slot(Py_tp_iter, &detail::iterate_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& contains() {
    parts_.slot(Py_sq_contains, &detail::contains_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& item() {
    parts_.slot(Py_mp_subscript, &detail::item_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& equals() {
    parts_.slot(Py_tp_richcompare, &detail::equals_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& hash() {
    parts_.slot(Py_tp_hash, &detail::hash_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& add() {
    parts_.slot(Py_nb_add, &detail::add_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& add_in_place() {
    parts_.slot(Py_nb_inplace_add, &detail::add_in_place_slot<T, F>);
    return *this;
  }
  template <auto F>
  Class& text() {
    parts_.slot(Py_tp_str, &detail::text_slot<T, F>);
    return *this;
  }
  /// A call of the object itself; F takes the positional arguments as a tuple and the named ones as a dict.
  template <auto F>
  Class& call() {
    sign<F>("__call__", {Parameter::rest("args"), Parameter::keywords("kwargs")});
    parts_.slot(Py_tp_call, &detail::Operation<T, F>::call_packed);
    return *this;
  }

  /// Makes the type. Returns its scope, for classes nested in it.
  Scope done() {
    Layout& layout = TypeOf<T>::layout;
    describe<T>(layout);
    const Py_ssize_t size = parts_.lay_out(layout, sizeof(T), alignof(T), base_layout());
    parts_.slot(Py_tp_new, create_);
    parts_.slot(Py_tp_traverse, &Lifecycle<T>::traverse);
    parts_.slot(Py_tp_clear, &Lifecycle<T>::clear);
    parts_.slot(Py_tp_dealloc, &Lifecycle<T>::drop);
    TypeOf<T>::type = parts_.make(layout, size);
    return Scope(type_of<T>(), outer_.module(), outer_.qualify(name_));
  }

 private:
  static const Layout* base_layout() {
    if constexpr (std::is_void_v<B>) {
      return nullptr;
    } else {
      return &TypeOf<B>::layout;
    }
  }
  template <auto F>
  static void* entry() {
    return reinterpret_cast<void*>(&detail::Operation<T, F>::call);
  }
  template <auto F>
  const Signature& sign(const char* name, Parameters parameters) {
    using Call = detail::Operation<T, F>;
    detail::keep_signature(Call::signature, name, parameters,
                           std::tuple_size_v<typename detail::ShapeOf<F>::Arguments>);
    return *Call::signature;
  }

  detail::TypeParts parts_;
  const Scope& outer_;
  const char* name_;
  newfunc create_ = &Lifecycle<T>::create;
};

namespace detail {
void add_function(const Scope& module, const char* name, const Signature& signature, void* function, const char* doc);
}

/// Exposes a C++ function as a function of the module.
template <auto F>
void function(const Scope& module, const char* name, Parameters parameters, const char* doc) {
  using Call = detail::Operation<void, F>;
  detail::keep_signature(Call::signature, name, parameters, std::tuple_size_v<typename detail::ShapeOf<F>::Arguments>);
  detail::add_function(module, name, *Call::signature, reinterpret_cast<void*>(&Call::call), doc);
}

template <class T>
Scope scope_of() {
  const Object type = type_of<T>();
  return Scope(type, Utf8(type.attr(Name("__module__"))).str(), label(TypeOf<T>::type));
}

}  // namespace heron::py
