#pragma once

#include "host/host.h"

/// Walks over trees of joints, which may be deeper than the stack, and may hold a joint in many places: where that
/// makes no difference, it is looked at once. RecursionError for a joint below itself.
namespace heron::joint_tree {

/// Appends all joints below a joint to a list, parents first.
void append_below(const py::Object& joint, const py::List& joints);

/// Sorts a list of joints in place by name, and all lists below it before.
void sort(const py::List& joints);

/// Do all objects exist, with as many children as their joints? A ghost's children alone decide for the ghost and for
/// those after it.
bool is_match(std::vector<py::Object> joints, const Host& host);

}  // namespace heron::joint_tree
