#include "runtime/instance.h"

#include "runtime/containers.h"
#include "runtime/text.h"

namespace heron::py {
namespace {

template <class P>
P& at(PyObject* self, Py_ssize_t offset) {
  return *reinterpret_cast<P*>(reinterpret_cast<char*>(self) + offset);
}

bool is_plain(const Layout& layout) { return layout.native_base == &PyBaseObject_Type; }

template <class F>
F native(const Layout& layout, int slot) {
  return reinterpret_cast<F>(PyType_GetSlot(layout.native_base, slot));
}

/// Frees an object whose own parts are gone already, or were never made.
void free_instance(PyObject* self, const Layout& layout) {
  PyTypeObject* type = Py_TYPE(self);
  if (is_plain(layout)) {
    reinterpret_cast<freefunc>(PyType_GetSlot(type, Py_tp_free))(self);
  } else {
    // The base drops its own part and takes the object out of the collector again itself; 3.10 crashes if it
    // finds it out already.
    if (PyType_HasFeature(layout.native_base, Py_TPFLAGS_HAVE_GC) != 0) PyObject_GC_Track(self);
    native<destructor>(layout, Py_tp_dealloc)(self);
  }
  Py_DecRef(reinterpret_cast<PyObject*>(type));
}

void drop_now(PyObject* self, const Layout& layout) {
  if (layout.weak_at != 0) PyObject_ClearWeakRefs(self);
  layout.destroy(&at<char>(self, layout.value_at));
  if (layout.dict_at != 0) Py_DecRef(std::exchange(at<PyObject*>(self, layout.dict_at), nullptr));
  free_instance(self, layout);
}

struct PutOff {
  PyObject* object;
  const Layout* layout;
};

PyObject* allocate(PyTypeObject* type, PyObject* arguments, const Layout& layout) {
  // Our own classes are never abstract.
  if (is_plain(layout) && arguments == nullptr) return PyType_GenericAlloc(type, 0);
  // object.__new__ refuses abstract classes; it takes no arguments where a class has a constructor.
  static PyObject* const nothing = PyTuple_New(0);
  if (is_plain(layout) || arguments == nullptr) arguments = nothing;
  return native<newfunc>(layout, Py_tp_new)(type, arguments, nullptr);
}

}  // namespace

std::string label(PyTypeObject* type) {
  static const Name kQualified("__qualname__");
  return Utf8(Object::borrow(reinterpret_cast<PyObject*>(type)).attr(kQualified)).str();
}

PyObject* new_instance(PyTypeObject* type, PyObject* arguments, const Layout& layout) {
  PyObject* self = allocate(type, arguments, layout);
  if (self == nullptr) throw Error();
  PyObject_GC_UnTrack(self);  // the collector must not walk over a value that is half made
  try {
    layout.construct(&at<char>(self, layout.value_at));
  } catch (...) {
    free_instance(self, layout);
    throw;
  }
  PyObject_GC_Track(self);
  return self;
}

int traverse_instance(PyObject* self, visitproc visit, void* argument, const Layout& layout) {
  if (const int result = visit(reinterpret_cast<PyObject*>(Py_TYPE(self)), argument); result != 0) return result;
  if (!is_plain(layout)) {
    if (const auto base = native<traverseproc>(layout, Py_tp_traverse)) {
      if (const int result = base(self, visit, argument); result != 0) return result;
    }
  }
  if (layout.dict_at != 0) {
    if (PyObject* dict = at<PyObject*>(self, layout.dict_at)) {
      if (const int result = visit(dict, argument); result != 0) return result;
    }
  }
  return layout.traverse(&at<char>(self, layout.value_at), visit, argument);
}

int clear_instance(PyObject* self, const Layout& layout) {
  layout.clear(&at<char>(self, layout.value_at));
  if (layout.dict_at != 0) Py_DecRef(std::exchange(at<PyObject*>(self, layout.dict_at), nullptr));
  if (!is_plain(layout)) {
    if (const auto base = native<inquiry>(layout, Py_tp_clear)) return base(self);
  }
  return 0;
}

// A chain of objects of which each drops the next is put off from a depth on, so that it cannot overflow the
// stack however long it is.
void drop_instance(PyObject* self, const Layout& layout) {
  constexpr int kDeep = 50;
  static thread_local int depth = 0;
  static thread_local std::vector<PutOff>* waiting = nullptr;
  PyObject_GC_UnTrack(self);
  if (depth >= kDeep) {
    if (waiting == nullptr) waiting = new std::vector<PutOff>;
    waiting->push_back({self, &layout});
    return;
  }
  ++depth;
  drop_now(self, layout);
  while (depth == 1 && waiting != nullptr && !waiting->empty()) {
    const PutOff next = waiting->back();
    waiting->pop_back();
    drop_now(next.object, *next.layout);
  }
  if (depth == 1) delete std::exchange(waiting, nullptr);
  --depth;
}

}  // namespace heron::py
