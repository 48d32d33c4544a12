#include "host/ancestors.h"

namespace heron {
namespace {

[[noreturn]] void raise_circle() {
  py::raise(PyExc_RecursionError, "the host says that an object is its own ancestor");
}

}  // namespace

bool Ancestors::climb() {
  const py::Object parent = host_.parent(path_);
  if (!parent.truth()) return false;
  if (cycles_.returns(++depth_, parent)) raise_circle();
  path_ = parent;
  return true;
}

py::Object TopAncestors::of(const py::Object& path) {
  std::vector<py::Object> way;
  py::Object top = path;
  while (true) {
    if (const std::optional<py::Object> known = tops_.find(top)) {
      if (known->is(tops_)) raise_circle();
      top = *known;
      break;
    }
    tops_.set(top, tops_);
    way.push_back(top);
    const py::Object parent = host_.parent(top);
    if (!parent.truth()) break;
    top = parent;
  }
  for (const py::Object& passed : way) tops_.set(passed, top);
  return top;
}

}  // namespace heron
