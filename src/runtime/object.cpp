#include "runtime/object.h"

#include <new>
#include <stdexcept>

#include <cstring>

#include "runtime/interrupts.h"

namespace heron::py {

PyObject* Name::get() const {
  if (interned_ == nullptr) {
    interned_ = PyUnicode_InternFromString(text_);
    if (interned_ == nullptr) throw Error();
  }
  return interned_;
}

Object Object::steal(PyObject* pointer) {
  if (pointer == nullptr) throw Error();
  Object object;
  object.pointer_ = pointer;
  return object;
}

Object Object::borrow(PyObject* pointer) {
  Object object;
  object.pointer_ = pointer;
  Py_IncRef(pointer);
  return object;
}

// Each holds what it works on: Python code that runs meanwhile may let go of the place that this reference stands in.

bool Object::truth() const {
  const Object held(*this);
  return held.pointer_ != nullptr && checked(PyObject_IsTrue(held.pointer_)) != 0;
}

bool Object::equals(const Object& other) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep both alive
  const Object left(*this), right(other);
  return checked(PyObject_RichCompareBool(left.or_none(), right.or_none(), Py_EQ)) != 0;
}

bool Object::is_less(const Object& other) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep both alive
  const Object left(*this), right(other);
  return checked(PyObject_RichCompareBool(left.or_none(), right.or_none(), Py_LT)) != 0;
}

Py_hash_t Object::hash() const {
  const Object held(*this);
  const Py_hash_t hash = PyObject_Hash(held.or_none());
  if (hash == -1) throw Error();
  return hash;
}

Py_ssize_t Object::length() const {
  const Object held(*this);
  const Py_ssize_t length = PyObject_Length(held.or_none());
  if (length < 0) throw Error();
  return length;
}

std::string Object::type_name() const {
  if (is_none()) return "None";
  static const Name kName("__name__");
  PyObject* name = PyObject_GetAttr(reinterpret_cast<PyObject*>(Py_TYPE(pointer_)), kName.get());
  const char* text = name != nullptr ? PyUnicode_AsUTF8AndSize(name, nullptr) : nullptr;
  std::string known = text != nullptr ? text : "object";  // a metaclass may refuse to tell it
  if (text == nullptr) PyErr_Clear();
  Py_DecRef(name);
  return known;
}

Object Object::attr(const Name& name) const {
  const Object held(*this);
  return steal(PyObject_GetAttr(held.or_none(), name.get()));
}

Object Object::attr(const Name& name, const Object& otherwise) const {
  PyObject* found = PyObject_GetAttr(or_none(), name.get());
  if (found == nullptr) {
    if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) throw Error();
    PyErr_Clear();
    return otherwise;
  }
  return steal(found);
}

void Object::set_attr(const Name& name, const Object& value) const {
  checked(PyObject_SetAttr(or_none(), name.get(), value.or_none()));
}

void Object::set_attr(const Object& name, const Object& value) const {
  const Object held(*this);
  checked(PyObject_SetAttr(held.or_none(), name.or_none(), value.or_none()));
}

Object Object::apply(const Object& arguments, const Object& named) const {
  return steal(PyObject_Call(or_none(), arguments.get(), named.get()));
}

Error::Error() {
  PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
  PyErr_Fetch(&type, &value, &trace);
  if (type == nullptr) {
    PyErr_SetString(PyExc_SystemError, "error return without exception set");
    PyErr_Fetch(&type, &value, &trace);
  }
  PyErr_NormalizeException(&type, &value, &trace);
  if (trace != nullptr && value != nullptr) PyException_SetTraceback(value, trace);
  type_ = Object::steal(type);
  value_ = Object::steal(value);
  if (trace != nullptr) trace_ = Object::steal(trace);
}

void Error::restore() const {
  PyErr_Restore(Object(type_).release(), Object(value_).release(), Object(trace_).release());
}

bool Error::matches(PyObject* type) const { return PyErr_GivenExceptionMatches(type_.get(), type) != 0; }

Error current_error() {
  try {
    throw;
  } catch (const Error& error) {
    return error;
  } catch (const std::bad_alloc&) {
    PyErr_NoMemory();
  } catch (const std::invalid_argument& error) {
    PyErr_SetString(PyExc_ValueError, error.what());
  } catch (const std::out_of_range& error) {
    PyErr_SetString(PyExc_KeyError, error.what());
  } catch (const std::exception& error) {
    PyErr_SetString(PyExc_RuntimeError, error.what());
  }
  return Error();
}

void raise(PyObject* type, const std::string& message) {
  // The message may quote names of any kind, so it is decoded as leniently as text is encoded.
  PyObject* text = PyUnicode_DecodeUTF8(message.data(), static_cast<Py_ssize_t>(message.size()), "surrogatepass");
  if (text != nullptr) {
    PyErr_SetObject(type, text);
    Py_DecRef(text);
  }
  throw Error();
}

void raise_type(const std::string& message) { raise(PyExc_TypeError, message); }
void raise_type() {
  PyErr_SetNone(PyExc_TypeError);
  throw Error();
}
void raise_object(const Object& exception) {
  PyException_SetTraceback(exception.get(), Py_None);
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.get())), exception.get());
  throw Error();
}

void raise_value(const std::string& message) { raise(PyExc_ValueError, message); }

namespace {
constexpr int kDeepest = 500;  // fits the stack of a small thread
thread_local int depth = 0;
thread_local Interrupts interrupts;  // parts that are shared may make a structure endless without being deep
}  // namespace

Depth::Depth(const char* where) {
  if (depth == kDeepest) raise(PyExc_RecursionError, std::string("maximum recursion depth exceeded") + where);
  interrupts.step();
  if (Py_EnterRecursiveCall(where) != 0) throw Error();
  ++depth;
}

Depth::~Depth() {
  --depth;
  Py_LeaveRecursiveCall();
}

}  // namespace heron::py
