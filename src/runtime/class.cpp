#include "runtime/class.h"

#include <deque>

#include "runtime/docstring.h"

namespace heron::py {
namespace {

// Tables and texts that a type refers to stay for the life of the process, as the type does.

template <class T>
T* keep(T value) {
  static auto* const kept = new std::deque<T>;  // one root for all, so that none of them counts as lost
  return &kept->emplace_back(std::move(value));
}

const char* keep_text(const std::string& text) { return keep(text)->c_str(); }

template <class T>
T* keep_table(std::vector<T> table) {
  table.push_back(T{});  // the runtime's tables end in an empty row
  return keep(std::move(table))->data();
}

/// The runtime reads the signature of an operation from the head of its documentation.
const char* documentation(const std::string& name, const std::string& signature, const char* doc) {
  const std::string text = fill_docstring(doc);
  return keep_text(signature.empty() ? text : name + signature + "\n--\n\n" + text);
}

PyMethodDef describe_method(const char* name, const Signature& signature, void* function, int kind, const char* doc) {
  const char* first = kind == METH_STATIC ? "" : "$self";
  return {name, reinterpret_cast<PyCFunction>(function), METH_FASTCALL | METH_KEYWORDS | kind,
          documentation(name, signature.text(first), doc)};
}

Py_ssize_t type_number(PyTypeObject* type, const char* name) {
  const Object value = Object::borrow(reinterpret_cast<PyObject*>(type)).attr(Name(name));
  return PyLong_AsSsize_t(value.get());
}

Py_ssize_t aligned(Py_ssize_t offset, std::size_t alignment) {
  const auto step = static_cast<Py_ssize_t>(alignment);
  return (offset + step - 1) / step * step;
}

/// The nearest class that is the runtime's own: its functions make and drop the native part of an instance.
PyTypeObject* native_base(PyTypeObject* type) {
  while (PyType_HasFeature(type, Py_TPFLAGS_HEAPTYPE) != 0) {
    type = static_cast<PyTypeObject*>(PyType_GetSlot(type, Py_tp_base));
  }
  return type;
}

/// What a class without a constructor of its own takes: what its base takes, or nothing to tell if that does not.
std::string inherited_signature(PyTypeObject* base) {
  if (base == &PyBaseObject_Type) return "()";
  const Object signature = Object::borrow(reinterpret_cast<PyObject*>(base)).attr(Name("__text_signature__"));
  return signature.is_none() ? "" : Utf8(signature).str();
}

Object make_type(PyType_Spec& spec, PyTypeObject* base, const std::string& qualified) {
  const Object bases = tuple({Object::borrow(reinterpret_cast<PyObject*>(base))});
  Object type = Object::steal(PyType_FromSpecWithBases(&spec, bases.get()));
  type.set_attr(Name("__qualname__"), text(qualified));
  return type;
}

}  // namespace

Scope::Scope(Object module) : object_(std::move(module)) { module_ = Utf8(object_.attr(Name("__name__"))).str(); }

Scope make_namespace(const Scope& outer, const char* name, const char* doc) {
  std::string text = fill_docstring(doc);
  std::vector<PyType_Slot> slots = {{Py_tp_doc, text.data()}, {0, nullptr}};
  PyType_Spec spec{keep_text(outer.module() + "." + name), static_cast<int>(sizeof(PyObject)), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_DISALLOW_INSTANTIATION, slots.data()};
  const std::string qualified = outer.qualify(name);
  const Object type = make_type(spec, &PyBaseObject_Type, qualified);
  outer.set(name, type);
  return Scope(type, outer.module(), qualified);
}

namespace detail {

void keep_signature(const Signature*& place, const char* name, Parameters parameters, std::size_t arguments) {
  if (place != nullptr && place->operation() != name) {
    raise(PyExc_SystemError, std::string(name) + "() is bound to the function of " + place->operation() + "()");
  }
  if (parameters.size() != arguments) {
    raise(PyExc_SystemError, std::string(name) + "() has other parameters than its function");
  }
  place = new Signature(name, parameters);
}

TypeParts::TypeParts(const Scope& outer, const char* name, const char* doc)
    : outer_(outer), name_(name), doc_(doc), base_(&PyBaseObject_Type) {}

void TypeParts::constructor(const Signature& signature, initproc init) {
  has_constructor_ = true;
  signature_ = signature.text("");
  slot(Py_tp_init, init);
}

void TypeParts::method(const char* name, const Signature& signature, void* function, int kind, const char* doc) {
  methods_.push_back(describe_method(name, signature, function, kind, doc));
}

void TypeParts::accessor(const char* name, getter get, setter set, const char* doc) {
  accessors_.push_back({name, get, set, keep_text(fill_docstring(doc)), const_cast<char*>(name)});
}

void TypeParts::copies(PyCFunction get_state, PyCFunction set_state) {
  tells_of_copies_ = true;
  const auto add = [this](const char* name, PyCFunction function, int kind, const char* signature, const char* doc) {
    methods_.push_back({name, function, kind, documentation(name, signature, doc)});
  };
  add("__getstate__", get_state, METH_NOARGS, "($self)", "What `copy` and `pickle` keep of it.");
  add("__setstate__", set_state, METH_O, "($self, state, /)", "Takes what `__getstate__` gave in place of its own.");
  add("__reduce_ex__", &reduce_instance, METH_O, "($self, protocol, /)", "What `copy` and `pickle` make a copy from.");
}

void TypeParts::no_copies(PyCFunction reduce) {
  tells_of_copies_ = true;
  methods_.push_back(
      {"__reduce__", reduce, METH_NOARGS, documentation("__reduce__", "($self)", "TypeError: no copies.")});
}

Py_ssize_t TypeParts::lay_out(Layout& layout, std::size_t size, std::size_t alignment, const Layout* shared) const {
  if (shared != nullptr) {
    layout.native_base = shared->native_base;
    layout.value_at = shared->value_at;
    layout.dict_at = shared->dict_at;
    layout.weak_at = shared->weak_at;
  } else {
    constexpr auto kPointer = static_cast<Py_ssize_t>(sizeof(PyObject*));
    Py_ssize_t end = aligned(type_number(base_, "__basicsize__"), alignof(PyObject*));
    layout.native_base = native_base(base_);
    if (!sealed_ && type_number(base_, "__dictoffset__") == 0) {
      layout.dict_at = end;
      end += kPointer;
    }
    if (type_number(base_, "__weakrefoffset__") == 0) {
      layout.weak_at = end;
      end += kPointer;
    }
    layout.value_at = aligned(end, alignment);
  }
  return aligned(layout.value_at + static_cast<Py_ssize_t>(size), alignof(PyObject*));
}

PyTypeObject* TypeParts::make(const Layout& layout, Py_ssize_t size) {
  if (!tells_of_copies_ && PyExceptionClass_Check(reinterpret_cast<PyObject*>(base_)) == 0) {
    raise(PyExc_SystemError, std::string(name_) + " does not say whether it has copies");
  }
  std::vector<PyMemberDef> members;
  if (layout.dict_at != 0) members.push_back({"__dictoffset__", T_PYSSIZET, layout.dict_at, READONLY, nullptr});
  if (layout.weak_at != 0) members.push_back({"__weaklistoffset__", T_PYSSIZET, layout.weak_at, READONLY, nullptr});
  if (layout.dict_at != 0) {
    accessors_.push_back({"__dict__", PyObject_GenericGetDict, PyObject_GenericSetDict, nullptr, nullptr});
  }
  slot(Py_tp_members, keep_table(std::move(members)));
  slot(Py_tp_methods, keep_table(std::move(methods_)));
  slot(Py_tp_getset, keep_table(std::move(accessors_)));
  const std::string signature = has_constructor_ ? signature_ : inherited_signature(base_);
  slot(Py_tp_doc, const_cast<char*>(documentation(name_, signature, doc_.c_str())));
  slots_.push_back({0, nullptr});
  PyType_Spec spec{keep_text(outer_.module() + "." + name_), static_cast<int>(size), 0,
                   Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE | Py_TPFLAGS_HAVE_GC, slots_.data()};
  Object type = make_type(spec, base_, outer_.qualify(name_));
  for (const auto& [name, value] : attributes_) type.set_attr(Name(name), value);
  outer_.set(name_, type);
  return reinterpret_cast<PyTypeObject*>(type.release());
}

void add_function(const Scope& module, const char* name, const Signature& signature, void* function, const char* doc) {
  PyMethodDef* method = keep(describe_method(name, signature, function, METH_STATIC, doc));
  method->ml_flags &= ~METH_STATIC;
  const Object module_name = text(module.module());
  module.set(name, Object::steal(PyCFunction_NewEx(method, nullptr, module_name.get())));
}

}  // namespace detail
}  // namespace heron::py
