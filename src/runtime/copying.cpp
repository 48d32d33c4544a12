#include "runtime/copying.h"

#include "runtime/modules.h"

namespace heron::py {
namespace {

const Name kDict("__dict__"), kReduce("__reduce__"), kReduceEx("__reduce_ex__"), kDeepCopy("deepcopy");

enum Part : Py_ssize_t { kFields, kAttributes, kSlots, kElements, kParts };

Object part(const Object& state, Part at) { return Object::borrow(PyTuple_GetItem(state.get(), at)); }

/// The values in `__slots__` of classes derived in Python, by their names.
Object slots_of(const Object& self) {
  static const Name kSlotNames("_slotnames");
  Dict slots;
  const Object type = Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(self.get())));
  for (const Object& name : collect(modules::copyreg.call(kSlotNames, type))) {
    PyObject* value = PyObject_GetAttr(self.get(), name.get());
    if (value != nullptr) {
      slots.set(name, Object::steal(value));
    } else if (PyErr_ExceptionMatches(PyExc_AttributeError) != 0) {
      PyErr_Clear();  // never filled
    } else {
      throw Error();
    }
  }
  return slots;
}

Object identity(const Object& object) { return Object::steal(PyLong_FromVoidPtr(object.get())); }

}  // namespace

namespace detail {

void FieldWriter::put(const Object& field) {
  if (field) fields_.set(to_python(position_), field);
  ++position_;
}

Object FieldReader::take() { return fields_.find(to_python(position_++)).value_or(Object()); }

Object full_state(const Object& self, PyTypeObject* ours, const Dict& fields) {
  const Object attributes = self.attr(kDict, Object::none());
  const bool is_derived = Py_TYPE(self.get()) != ours;
  return tuple({fields, attributes.truth() ? Dict(attributes).copy() : Object(), is_derived ? slots_of(self) : Object(),
                PyList_Check(self.get()) != 0 ? Object(List(self).copy()) : Object()});
}

Dict fields_of(const Object& state) {
  if (PyTuple_Check(state.get()) == 0 || state.length() != kParts) raise_type("the state of an instance expected");
  for (const Part at : {kAttributes, kSlots}) {
    if (const Object named = part(state, at); !named.is_none()) [[maybe_unused]]
      const Dict checked(named);
  }
  if (const Object all = part(state, kElements); !all.is_none()) [[maybe_unused]]
    const List checked(all);
  return Dict(part(state, kFields));
}

void restore_rest(const Object& self, const Object& state) {
  const Object attributes = part(state, kAttributes), slots = part(state, kSlots), elements = part(state, kElements);
  if (!elements.is_none()) List(self).replace(0, PY_SSIZE_T_MAX, elements);
  if (!attributes.is_none()) Dict(self.attr(kDict)).update(Dict(attributes));
  if (slots.is_none()) return;
  for (const auto& [name, value] : Dict(slots).items()) self.set_attr(name, value);
}

PyObject* reduce_instance(PyObject* self, PyObject* protocol) {
  return guarded(
      [&] {
        constexpr int kNative = 2;  // the first protocol that makes an instance by its own class
        const Object object = Object::borrow(reinterpret_cast<PyObject*>(&PyBaseObject_Type));
        const Object least = to_python(kNative), wanted = Object::borrow(protocol);
        Object reduced = object.call(kReduceEx, Object::borrow(self), wanted.is_less(least) ? least : wanted);
        const Object type = Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(self)));
        if (PyList_Check(self) == 0 || !type.attr(kReduce).is(object.attr(kReduce))) return reduced.release();
        constexpr Py_ssize_t kWithoutElements = 3;  // function, arguments, state
        return Object::steal(PyTuple_GetSlice(reduced.get(), 0, kWithoutElements)).release();
      },
      nullptr);
}

void refuse_copies(PyObject* self, const char* why) {
  raise_type("cannot copy or pickle '" + Object::borrow(self).type_name() + "' object: " + why);
}

}  // namespace detail

Object deep_copy(const Object& self, const Object& memo, const std::vector<Object>& owners) {
  static const Name kSetState("__setstate__");
  constexpr int kProtocol = 4;
  const Dict known(memo);
  for (const Object& owner : owners) {
    if (!owner.is_none()) known.set(identity(owner), owner);
  }
  const auto copied = [&](const Object& part) { return modules::copy.call(kDeepCopy, part, memo); };
  const std::vector<Object> parts = collect(self.call(kReduceEx, to_python(kProtocol)));
  Object twin = parts.at(0).apply(copied(parts.at(1)));
  known.set(identity(self), twin);  // what it holds may lead back to it
  twin.call(kSetState, copied(parts.at(2)));
  return twin;
}

}  // namespace heron::py
