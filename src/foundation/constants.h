#pragma once

#include "runtime/class.h"

namespace heron {

/// Texts of `Constants` that the engine itself uses.
namespace constants {
inline constexpr std::string_view kGhost = "ghost";
inline constexpr std::string_view kSceneRoot = "sceneRoot";
inline constexpr std::string_view kTransform = "transform";
inline constexpr std::string_view kMesh = "mesh";
inline constexpr std::string_view kLocator = "locator";
inline constexpr std::string_view kLodGroup = "lodGroup";
inline constexpr std::string_view kInfo = "info";
inline constexpr std::string_view kFail = "fail";
inline constexpr std::string_view kStandalone = "standalone";
}  // namespace constants

void expose_constants(const py::Scope& module);

}  // namespace heron
