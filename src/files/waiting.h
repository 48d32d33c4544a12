#pragma once

#include "runtime/convert.h"
#include "runtime/modules.h"

namespace heron {

inline void sleep(double seconds) {
  static const py::Name kSleep("sleep");
  py::modules::time.call(kSleep, py::to_python(seconds));
}

/// Asks again and again until the answer is yes or the time has run out. The time is the sum of the steps.
template <class F>
bool wait(double timeout, double step, F&& answer) {
  double duration = 0;
  while (duration < timeout) {
    if (answer()) return true;
    sleep(step);
    duration += step;
  }
  return false;
}

}  // namespace heron
