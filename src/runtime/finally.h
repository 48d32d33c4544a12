#pragma once

namespace heron::py {

/// Python's `try` and `finally`: `after` runs however `body` ends, interrupts included. An error of `after` takes the
/// place of one of `body`.
template <class Body, class After>
void finally(Body&& body, After&& after) {
  try {
    body();
  } catch (...) {
    after();
    throw;
  }
  after();
}

}  // namespace heron::py
