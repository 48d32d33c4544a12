#pragma once

#include "runtime/class.h"

namespace heron {

/// Texts of `Constants` that the engine itself compares with.
namespace constants {
inline constexpr std::string_view kGhost = "ghost";
inline constexpr std::string_view kSceneRoot = "sceneRoot";
}  // namespace constants

void expose_constants(const py::Scope& module);

}  // namespace heron
