#pragma once

#include "runtime/object.h"

namespace heron::py {

/// Lets an interrupt end long work that runs no Python code. The runtime looks for one between two steps of Python code
/// alone, and a tree whose parts are shared has more ways down than anybody can wait for.
class Interrupts {
 public:
  /// To be told of every step: now and then it looks for an interrupt. Its handler, any Python code, runs here.
  void step() {
    constexpr unsigned kSteps = 1024;
    if (++steps_ % kSteps == 0) checked(PyErr_CheckSignals());
  }

 private:
  unsigned steps_ = 0;
};

}  // namespace heron::py
