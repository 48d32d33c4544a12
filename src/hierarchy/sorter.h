#pragma once

#include <string>
#include <vector>

#include "runtime/class.h"

namespace heron {

/// Puts the scopes of every layer in the order in which one guess can succeed: definitions before usages, and what
/// has no anchors last, so that the scopes with the least freedom get their objects first.
namespace sorter {
void sort(const py::List& pattern);  ///< In place, with all layers below.
}

void expose_sorter(const py::Scope& pattern);

}  // namespace heron
