#pragma once

#include "runtime/object.h"

namespace heron::py {

/// Runs `undo` if `body` fails, interrupts included. An error of `undo` takes the place of the first one, as
/// Python's own does, unless that is an interrupt or exit, which must pass.
template <class Body, class Undo>
void undo_on_failure(Body&& body, Undo&& undo) {
  try {
    body();
  } catch (const std::exception&) {
    const bool must_pass = !current_error().is_failure();
    try {
      undo();
    } catch (const Error&) {
      if (!must_pass) throw;
    }
    throw;
  }
}

/// Python's `try` and `finally`: `after` runs however `body` ends. Which error is told is as above.
template <class Body, class After>
void finally(Body&& body, After&& after) {
  undo_on_failure(body, after);
  after();
}

}  // namespace heron::py
