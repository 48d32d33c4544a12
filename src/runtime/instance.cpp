#include "runtime/instance.h"

#include "runtime/containers.h"
#include "runtime/garbage_collector.h"
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
  // Nothing is made for the collector once the object exists, or it might walk over the value that is not there yet.
  // object.__new__ makes a dict on some runtimes; it is there to refuse abstract classes.
  const bool is_abstract = PyType_HasFeature(type, Py_TPFLAGS_IS_ABSTRACT) != 0;
  if (is_plain(layout) && !is_abstract) return PyType_GenericAlloc(type, 0);
  const GarbageCollectorPause pause;
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
  PyObject_GC_UnTrack(self);  // until the value is made
  try {
    layout.construct(&at<char>(self, layout.value_at));
  } catch (const std::exception&) {
    free_instance(self, layout);
    throw;
  }
  PyObject_GC_Track(self);
  return self;
}

void refuse_arguments(PyTypeObject* type, PyObject* arguments, PyObject* named) {
  if (PyTuple_Size(arguments) == 0 && (named == nullptr || PyDict_Size(named) == 0)) return;
  if (PyType_GetSlot(type, Py_tp_init) != PyType_GetSlot(&PyBaseObject_Type, Py_tp_init)) return;
  static const Name kName("__name__");
  const Object name = Object::borrow(reinterpret_cast<PyObject*>(type)).attr(kName);
  raise_type(Utf8(name).str() + "() takes no arguments");
}

void initialise_others(PyObject* self, PyTypeObject* own) {
  if (Py_TYPE(self) == own) return;
  static const Name kOrder("__mro__"), kInit("__init__");
  const std::vector<Object> ours = collect(Object::borrow(reinterpret_cast<PyObject*>(own)).attr(kOrder));
  const Object& last = ours.at(ours.size() - 2);  // the native base where there is one; then comes `object`
  const Object super = Object::borrow(reinterpret_cast<PyObject*>(&PySuper_Type));
  super(last, Object::borrow(self)).attr(kInit)();
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
