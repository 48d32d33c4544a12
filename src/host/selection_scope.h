#pragma once

#include <functional>

#include "runtime/object.h"

namespace heron {

/// Runs `work` inside a scope that a host gave to keep the selection, as a `with` statement does: the scope is told of
/// an exception, also of an interrupt or exit, and a true answer swallows it.
///
/// operation: what gave the scope. TypeError, before anything runs, if it is none.
void run_in_scope(const py::Object& scope, const char* operation, const std::function<void()>& work);

}  // namespace heron
