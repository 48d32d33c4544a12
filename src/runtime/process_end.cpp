#include "runtime/process_end.h"

#include <chrono>
#include <thread>

#include "runtime/modules.h"

namespace heron::py {
namespace {

std::thread::id ending_thread;

PyObject* begin_end(PyObject*, PyObject*) {
  ending_thread = std::this_thread::get_id();
  is_ending.store(true, std::memory_order_release);
  Py_IncRef(Py_None);
  return Py_None;
}

}  // namespace

bool is_shut_out_by_end() {
  // The runtime counts as not initialized from the moment on from which it ends threads; the one that ends it works on.
  return Py_IsInitialized() == 0 && std::this_thread::get_id() != ending_thread;
}

void wait_for_end() {
  while (true) std::this_thread::sleep_for(std::chrono::hours(1));
}

void watch_for_end() {
  static const Name kRegister("register");
  static PyMethodDef function = {"begin_end", &begin_end, METH_NOARGS, nullptr};
  modules::atexit.call(kRegister, Object::steal(PyCFunction_New(&function, nullptr)));
}

}  // namespace heron::py
