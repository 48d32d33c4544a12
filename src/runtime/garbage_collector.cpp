#include "runtime/garbage_collector.h"

#include "runtime/containers.h"
#include "runtime/convert.h"
#include "runtime/modules.h"

namespace heron::py {
namespace {

const Name kGetThreshold("get_threshold"), kSetThreshold("set_threshold");

}  // namespace

GarbageCollectorSlowdown::GarbageCollectorSlowdown() : before_(modules::gc.call(kGetThreshold)) {
  constexpr int kNewObjects = 100'000;  // of containers: some tens of megabytes of garbage at most
  const std::vector<Object> thresholds = collect(before_);
  const Object wanted = to_python(kNewObjects);
  const bool is_on = thresholds.at(0).truth();
  if (!is_on || checked(PyObject_RichCompareBool(thresholds[0].get(), wanted.get(), Py_GE)) != 0) {
    before_ = Object();
  } else {
    modules::gc.call(kSetThreshold, wanted, thresholds.at(1), thresholds.at(2));
  }
}

GarbageCollectorSlowdown::~GarbageCollectorSlowdown() {
  if (!before_ || is_shut_out()) return;
  try {
    modules::gc.attr(kSetThreshold).apply(before_);
  } catch (const Error& error) {
    error.restore();
    PyErr_WriteUnraisable(modules::gc.get().get());
  }
}

}  // namespace heron::py
