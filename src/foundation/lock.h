#pragma once

#include "runtime/finally.h"
#include "runtime/object.h"

namespace heron {

/// Runs `body` while it holds a lock of the runtime: who waits for one lets other threads run.
template <class Body>
void locked(const py::Object& lock, Body&& body) {
  static const py::Name kAcquire("acquire"), kRelease("release");
  lock.call(kAcquire);
  py::finally(body, [&] { lock.call(kRelease); });
}

}  // namespace heron
