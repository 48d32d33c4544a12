#pragma once

#include <array>

#include "runtime/class.h"

namespace heron {

/// What a validation looks at.
enum class CheckMode { kSelection, kProject };

/// Where exported files go.
enum class ExportMode { kChoose, kProject, kLocal };

/// Values of `Constants` that the engine itself uses.
namespace constants {

/// A mode as `Constants` has it.
template <class Mode>
py::Object number(Mode mode) {
  return py::to_python(static_cast<int>(mode));
}

inline constexpr std::string_view kGhost = "ghost";
inline constexpr std::string_view kSceneRoot = "sceneRoot";
inline constexpr std::string_view kTransform = "transform";
inline constexpr std::string_view kMesh = "mesh";
inline constexpr std::string_view kLocator = "locator";
inline constexpr std::string_view kLodGroup = "lodGroup";
inline constexpr std::string_view kPass = "pass";
inline constexpr std::string_view kInfo = "info";
inline constexpr std::string_view kFail = "fail";
inline constexpr std::string_view kLatinFilter = "LATIN";
inline constexpr std::string_view kEnRuFilter = "EN_RU";
inline constexpr std::string_view kEmptyFilter = "EMPTY";
inline constexpr std::string_view kSpaceFilter = "SPACE";
inline constexpr std::string_view kGhostFilter = "GHOST";
inline constexpr std::string_view kError = "error";
inline constexpr std::string_view kStandalone = "standalone";

struct Category {
  const char* name;
  std::string_view text;
};
/// The groups of checks, in the order in which they are shown.
inline constexpr std::array kCategories = {
    Category{"Scene", "scene"},     Category{"Object", "object"},
    Category{"Mesh", "mesh"},       Category{"MeshNonManifold", "mesh non-manifold"},
    Category{"Mapping", "mapping"}, Category{"Material", "material"},
    Category{"Lod", "lod"},         Category{"Project", "project"},
};
}  // namespace constants

void expose_constants(const py::Scope& module);

}  // namespace heron
