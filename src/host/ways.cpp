#include "host/ways.h"

namespace heron {

Ways Ways::to_top(const Host& host) {
  return {host, [](const py::Object& path, const py::Object& parent) {
            return parent.truth() ? std::nullopt : std::optional(path);
          }};
}

py::Object Ways::end_of(const py::Object& path) {
  std::vector<py::Object> way;
  py::Object passed = path;
  std::optional<py::Object> end = ends_.find(passed);
  while (!end) {
    ends_.set(passed, ends_);
    way.push_back(passed);
    const py::Object parent = host_.parent(passed);
    end = end_(passed, parent);
    if (end) break;
    passed = parent;
    end = ends_.find(passed);
  }
  if (end->is(ends_)) py::raise(PyExc_RecursionError, "the host says that an object is its own ancestor");
  for (const py::Object& step : way) ends_.set(step, *end);
  return *end;
}

}  // namespace heron
