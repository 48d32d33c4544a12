#pragma once

#include <functional>

#include "runtime/object.h"

namespace heron {

/// Runs `work` inside the scope that the operator's `selection_manager()` gives, as a `with` statement does: the scope
/// is told of an exception, also of an interrupt or exit, and a true answer swallows it.
///
/// TypeError, before anything runs, if what the operator gives is no such scope.
void with_selection(const py::Object& op, const std::function<void()>& work);

}  // namespace heron
