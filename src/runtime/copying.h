#pragma once

#include <type_traits>

#include "runtime/binding.h"

// Instances are copied and pickled by the runtime's usual means: `__reduce_ex__` has a new one made without its
// constructor, `__getstate__` gives what stands in the old one, `__setstate__` puts that into the new one. A class
// offers its fields by `members`, as for the garbage collector, plain numbers among them; one that holds what has no
// copy, such as a lock, offers the others by `copied`, and makes that itself in `restored`.

namespace heron::py::detail {

/// Gathers the fields of a value by their positions. Those that hold no object are left out.
class FieldWriter {
 public:
  void operator()(const Object& field) { put(field); }
  template <class P>
    requires std::is_arithmetic_v<P>
  void operator()(const P& field) {
    put(to_python(field));
  }
  const Dict& fields() const { return fields_; }

 private:
  void put(const Object& field);

  Dict fields_;
  Py_ssize_t position_ = 0;
};

/// Fills the fields of a value that has its defaults. TypeError for one of the wrong kind.
class FieldReader {
 public:
  explicit FieldReader(Dict fields) : fields_(std::move(fields)) {}

  template <class O>
    requires std::derived_from<O, Object>
  void operator()(O& field) {
    if (Object stored = take()) field = O(std::move(stored));
  }
  template <class P>
    requires std::is_arithmetic_v<P>
  void operator()(P& field) {
    const Object stored = take();
    if (!stored) return;
    if (!From<P>::fits(stored.get())) raise_type(From<P>::wanted() + " expected, not " + stored.type_name());
    field = From<P>::from(stored.get());
  }

 private:
  Object take();

  const Dict fields_;
  Py_ssize_t position_ = 0;
};

template <class T, class V>
void visit_copied(T& value, V& visit) {
  if constexpr (requires { value.copied(visit); }) {
    value.copied(visit);
  } else if constexpr (HasMembers<T>) {
    value.members(visit);
  }
}

/// What an instance holds beside its fields: attributes, slots of classes derived in Python, elements of a list.
Object full_state(const Object& self, PyTypeObject* ours, const Dict& fields);
/// The fields in such a state. TypeError for anything else.
Dict fields_of(const Object& state);
/// Puts the rest of it into an instance.
void restore_rest(const Object& self, const Object& state);

template <class T>
struct Copying {
  static PyObject* get_state(PyObject* self, PyObject*) {
    return guarded(
        [&] {
          FieldWriter writer;
          visit_copied(value_of<T>(self), writer);
          return full_state(Object::borrow(self), TypeOf<T>::type, writer.fields()).release();
        },
        nullptr);
  }

  static PyObject* set_state(PyObject* self, PyObject* given) {
    return guarded(
        [&] {
          const Object state = Object::borrow(given);
          FieldReader reader(fields_of(state));
          T fresh;
          visit_copied(fresh, reader);
          value_of<T>(self) = std::move(fresh);
          if constexpr (requires(T& value) { value.restored(); }) value_of<T>(self).restored();
          restore_rest(Object::borrow(self), state);
          return Object::none().release();
        },
        nullptr);
  }
};

/// `__reduce_ex__`: that of `object`, whose oldest protocols know nothing of native fields, and without the elements
/// of a list: they are in the state, since the class may not take all that it is given again.
PyObject* reduce_instance(PyObject* self, PyObject* protocol);

[[noreturn]] void refuse_copies(PyObject* self, const char* why);

/// `__reduce__` of a class that has no copies.
template <class T>
struct NoCopies {
  static inline const char* why = nullptr;

  static PyObject* reduce(PyObject* self, PyObject*) {
    return guarded([&]() -> PyObject* { refuse_copies(self, why); }, nullptr);
  }
};

}  // namespace heron::py::detail

namespace heron::py {

/// `__deepcopy__` of an instance that belongs to objects without copies: its copy belongs to the same.
Object deep_copy(const Object& self, const Object& memo, const std::vector<Object>& owners);

}  // namespace heron::py
