#include "host/ways.h"

namespace heron {

Ways Ways::to_top(const Host& host) {
  return {host, [](const py::Object& path, const py::Object& parent) {
            return parent.truth() ? std::nullopt : std::optional(path);
          }};
}

py::Object Ways::end_of(const py::Object& path) {
  std::vector<py::Object> way;
  std::optional<py::Object> end;
  for (py::Object passed = path; !(end = ends_.find(passed));) {
    ends_.set(passed, ends_);
    way.push_back(passed);
    const py::Object parent = host_.parent(passed);
    if ((end = end_(passed, parent))) break;
    passed = parent;
  }
  if (end->is(ends_)) py::raise(PyExc_RecursionError, "the host says that an object is its own ancestor");
  for (const py::Object& passed : way) ends_.set(passed, *end);
  return *end;
}

}  // namespace heron
