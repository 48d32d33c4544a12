#pragma once

#include <type_traits>
#include <utility>
#include <vector>

#include "runtime/object.h"

namespace heron::py {

// How a C++ value lives in a Python object.
//
//   | what the base type needs | __dict__ | weak references | the value T |
//
// The base's part is as large as the runtime says when the class is made: 16 bytes for a plain object, more for
// a class derived from list, text or an exception. A class exposed as derived from another exposed class shares its
// layout; its value then begins with the base's value.

/// Where the parts of an instance stand, and the operations on its value that need the C++ type.
struct Layout {
  PyTypeObject* native_base = nullptr;  ///< object, list, text, an exception: made and dropped by its own functions
  Py_ssize_t value_at = 0;
  Py_ssize_t dict_at = 0, weak_at = 0;  ///< 0 where the base has its own
  void (*construct)(void* value) = nullptr;
  void (*destroy)(void* value) = nullptr;
  int (*traverse)(void* value, visitproc visit, void* argument) = nullptr;
  void (*clear)(void* value) = nullptr;
};

/// What the runtime knows of the class exposed for T. Types live as long as the process, on purpose: releasing
/// them after the runtime has ended would abort.
template <class T>
struct TypeOf {
  static inline PyTypeObject* type = nullptr;
  static inline Layout layout;
};

/// The class exposed for T, as Python has it.
template <class T>
Object type_of() {
  return Object::borrow(reinterpret_cast<PyObject*>(TypeOf<T>::type));
}

template <class T>
T& value_of(PyObject* object) {
  void* place = reinterpret_cast<char*>(object) + TypeOf<T>::layout.value_at;
  return *static_cast<T*>(place);
}

/// The Python object in which this value lives. The value must be an exposed one, not a C++ temporary.
template <class T>
Object object_of(const T& value) {
  return Object::borrow(
      reinterpret_cast<PyObject*>(reinterpret_cast<char*>(const_cast<T*>(&value)) - TypeOf<T>::layout.value_at));
}

template <class T>
bool is_instance(PyObject* object) {
  return object != nullptr && PyObject_TypeCheck(object, TypeOf<T>::type) != 0;
}

/// Name of a class within its module, for messages.
std::string label(PyTypeObject* type);

/// Makes an instance without calling its constructor: the C++ defaults stand in all fields. The arguments go to
/// a native base that wants some.
PyObject* new_instance(PyTypeObject* type, PyObject* arguments, const Layout& layout);

/// TypeError for arguments of a class of which no constructor takes any, neither ours nor one of Python: `object`
/// itself would let them pass.
void refuse_arguments(PyTypeObject* type, PyObject* arguments, PyObject* named);

/// Goes on from our constructor to those that Python's order of initialisation has behind it, as `super().__init__()`
/// does: of other bases of a class derived in Python. `own` is the class of ours.
void initialise_others(PyObject* self, PyTypeObject* own);

/// A reference to an instance of one of our own classes, or to none.
template <class T>
class Ref : public Object {
 public:
  Ref() = default;
  explicit Ref(Object object) : Object(std::move(object)) {
    if (!is_instance<T>(pointer_)) raise_type(label(TypeOf<T>::type) + " expected, not " + type_name());
  }
  static bool holds(const Object& object) { return is_instance<T>(object.get()); }
  static Ref of(const T& value) { return Ref(object_of(value)); }
  /// A new instance, its fields at their C++ defaults.
  static Ref make() { return Ref(steal(new_instance(TypeOf<T>::type, nullptr, TypeOf<T>::layout))); }

  /// Keeps the instance until the end of the expression in which the arrow stands: what is called there may run Python
  /// code that replaces the field in which the reference stands.
  class Kept {
   public:
    explicit Kept(const Ref& instance) : instance_(instance) {}
    T* operator->() const { return &*instance_; }

   private:
    const Ref instance_;
  };
  Kept operator->() const { return Kept(*this); }

  /// The value. RuntimeError where there is none: a subclass has not called the constructor of its base.
  T& operator*() const {
    if (pointer_ == nullptr) {
      raise(PyExc_RuntimeError, "a " + label(TypeOf<T>::type) + " is missing: __init__() was not called, or got None");
    }
    return value_of<T>(pointer_);
  }
};

/// The same as an argument, where None may stand for a part that is not needed.
template <class T>
class RefOrNone : public Ref<T> {
 public:
  RefOrNone() = default;
  RefOrNone(const Ref<T>& part) : Ref<T>(part) {}  // NOLINT(google-explicit-constructor): a part always is one
};

/// A new instance of one of our classes, its constructor called with these arguments.
template <class T, class... A>
Ref<T> made(const A&... arguments) {
  auto object = Ref<T>::make();
  object->init(arguments...);
  return object;
}

// Garbage collection. A class that holds references offers them once, by
//   template <class V> void members(V& visit) { visit(first); visit(second); }
// which serves both walks below, and copies. These take plain numbers too, which the walks pass over.

class Traverse {
 public:
  Traverse(visitproc visit, void* argument) : visit_(visit), argument_(argument) {}
  void operator()(const Object& object) {
    if (result_ == 0 && object) result_ = visit_(object.get(), argument_);
  }
  template <class O>
  void operator()(const std::vector<O>& objects) {
    for (const O& object : objects) (*this)(object);
  }
  template <class P>
    requires std::is_arithmetic_v<P>
  void operator()(const P&) {}
  int result() const { return result_; }

 private:
  visitproc visit_;
  void* argument_;
  int result_ = 0;
};

class Clear {
 public:
  // The reference leaves its place first: releasing it may run code that looks here.
  template <class O>
    requires std::derived_from<O, Object>
  void operator()(O& object) {
    PyObject* held = object.release();
    Py_DecRef(held);
  }
  template <class O>
  void operator()(std::vector<O>& objects) {
    const std::vector<O> held = std::exchange(objects, {});
  }
  template <class P>
    requires std::is_arithmetic_v<P>
  void operator()(const P&) {}
};

template <class T>
concept HasMembers = requires(T& value, Traverse& visit) { value.members(visit); };

/// The operations on a value that its layout carries.
template <class T>
void describe(Layout& layout) {
  layout.construct = [](void* value) { new (value) T(); };
  layout.destroy = [](void* value) { static_cast<T*>(value)->~T(); };
  layout.traverse = [](void* value, visitproc visit, void* argument) {
    if constexpr (HasMembers<T>) {
      Traverse walk(visit, argument);
      static_cast<T*>(value)->members(walk);
      return walk.result();
    } else {
      return 0;
    }
  };
  layout.clear = [](void* value) {
    if constexpr (HasMembers<T>) {
      Clear walk;
      static_cast<T*>(value)->members(walk);
    }
  };
}

int traverse_instance(PyObject* self, visitproc visit, void* argument, const Layout& layout);
int clear_instance(PyObject* self, const Layout& layout);
void drop_instance(PyObject* self, const Layout& layout);

/// The same operations as the runtime calls them: one set a class, so that none has to look its layout up.
template <class T>
struct Lifecycle {
  static PyObject* create(PyTypeObject* type, PyObject* arguments, PyObject* named) {
    try {
      refuse_arguments(type, arguments, named);
      return new_instance(type, arguments, TypeOf<T>::layout);
    } catch (const std::exception&) {
      current_error().restore();
      return nullptr;
    }
  }
  static int traverse(PyObject* self, visitproc visit, void* argument) {
    return traverse_instance(self, visit, argument, TypeOf<T>::layout);
  }
  static int clear(PyObject* self) { return clear_instance(self, TypeOf<T>::layout); }
  static void drop(PyObject* self) { drop_instance(self, TypeOf<T>::layout); }
};

}  // namespace heron::py
