#include "foundation/clock.h"

#include "runtime/modules.h"

namespace heron::clock {

py::Object now() {
  static const py::Name kTime("time");
  return py::modules::time.call(kTime);
}

py::Object since(const py::Object& start) { return py::Held(now(), start).apply(PyNumber_Subtract); }

}  // namespace heron::clock
