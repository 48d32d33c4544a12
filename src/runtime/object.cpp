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

void Object::give_back(PyObject* pointer) {
  if (is_shut_out()) return;
  try {
    Py_DecRef(pointer);
  } catch (...) {
    wait_for_end();  // no error comes this way: the runtime ends the thread in the object's finaliser
  }
}

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

Object Object::item(const Object& key) const { return Held(*this, key).apply(PyObject_GetItem); }
void Object::set_item(const Object& key, const Object& value) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep all alive
  const Object held(*this), place(key), given(value);
  checked(PyObject_SetItem(held.or_none(), place.or_none(), given.or_none()));
}

Object Object::iterate() const { return Held(*this).apply(PyObject_GetIter); }
Object Object::string() const { return Held(*this).apply(PyObject_Str); }

Object Object::attr(const Name& name) const {
  const Object held(*this);
  return steal(PyObject_GetAttr(held.or_none(), name.get()));
}

Object Object::attr(const Name& name, const Object& otherwise) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep both alive
  const Object held(*this);
  Object fallback(otherwise);
  PyObject* found = PyObject_GetAttr(held.or_none(), name.get());
  if (found == nullptr) {
    if (PyErr_ExceptionMatches(PyExc_AttributeError) == 0) throw Error();
    PyErr_Clear();
    return fallback;
  }
  return steal(found);
}

void Object::set_attr(const Name& name, const Object& value) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep both alive
  const Object held(*this), kept(value);
  checked(PyObject_SetAttr(held.or_none(), name.get(), kept.or_none()));
}

void Object::set_attr(const Object& name, const Object& value) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep all alive
  const Object held(*this), label(name), kept(value);
  checked(PyObject_SetAttr(held.or_none(), label.or_none(), kept.or_none()));
}

Object Object::apply(const Object& arguments, const Object& named) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep all alive
  const Object held(*this), positional(arguments), by_name(named);
  return steal(PyObject_Call(held.or_none(), positional.get(), by_name.get()));
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
  if (!PyExceptionInstance_Check(exception.or_none())) raise_type("exceptions must derive from BaseException");
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
  if (!is_shut_out()) Py_LeaveRecursiveCall();
}

}  // namespace heron::py
