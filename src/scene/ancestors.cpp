#include "scene/ancestors.h"

#include "scene/operator.h"

namespace heron {

bool Ancestors::climb() {
  const py::Object parent = host_.call(host::kGetParent, path_);
  if (!parent.truth()) return false;
  if (py::checked(PySet_Contains(seen_.get(), parent.get())) != 0) {
    py::raise(PyExc_RecursionError, "the host says that an object is its own ancestor");
  }
  py::checked(PySet_Add(seen_.get(), parent.get()));
  path_ = parent;
  return true;
}

const py::Object& Ancestors::last() {
  while (climb()) {
  }
  return path_;
}

}  // namespace heron
