#include "foundation/constants.h"

#include <initializer_list>

#include "foundation/text.h"

namespace heron {
namespace {

struct Entry {
  const char* name;
  py::Object value;
};

py::Object str(std::string_view value) { return to_str(py::text(value)); }

void expose_group(const py::Scope& outer, const char* name, const char* doc, std::initializer_list<Entry> entries) {
  const py::Scope group = py::make_namespace(outer, name, doc);
  for (const Entry& entry : entries) group.set(entry.name, entry.value);
}

}  // namespace

void expose_constants(const py::Scope& module) {
  using constants::number;
  using py::to_python;
  const py::Scope all = py::make_namespace(module, "Constants", "All enumerations of the system.");

  const py::Scope check = py::make_namespace(all, "Check", "Constants of checks.");
  expose_group(check, "Mode", "What a validation looks at.",
               {{"Selection", number(CheckMode::kSelection)}, {"Project", number(CheckMode::kProject)}});
  const py::Scope category =
      py::make_namespace(check, "Category", "Groups of checks, in the order in which they are shown.");
  for (const auto& [name, text] : constants::kCategories) category.set(name, str(text));
  expose_group(check, "Result", "Outcomes of a check.",
               {{"Pass", str(constants::kPass)},
                {"Info", str(constants::kInfo)},
                {"Fail", str(constants::kFail)},
                {"Error", str(constants::kError)}});

  const py::Scope exporting = py::make_namespace(all, "Export", "Constants of the export.");
  expose_group(exporting, "Format", "File formats.", {{"FBX", str("fbx")}});
  expose_group(exporting, "Mode", "Where exported files go.",
               {{"Choose", number(ExportMode::kChoose)},
                {"Project", number(ExportMode::kProject)},
                {"Local", number(ExportMode::kLocal)}});

  const py::Scope scene = py::make_namespace(all, "Scene", "Constants of the scene.");
  expose_group(scene, "Type", "Types of scene objects, the same in every host.",
               {{"Ghost", str(constants::kGhost)},
                {"SceneRoot", str(constants::kSceneRoot)},
                {"Transform", str(constants::kTransform)},
                {"Mesh", str(constants::kMesh)},
                {"Locator", str(constants::kLocator)},
                {"LodGroup", str(constants::kLodGroup)}});

  const py::Scope plugin = py::make_namespace(all, "Plugin", "Constants of the host.");
  expose_group(plugin, "Status", "Outcomes of an operation.",
               {{"Success", to_python(true)}, {"Failure", to_python(false)}});
  expose_group(plugin, "Target", "Host applications.",
               {{"DCC_Maya", str("maya")},
                {"DCC_3dsMax", str("3dsmax")},
                {"DCC_Blender", str("blender")},
                {"Standalone", str(constants::kStandalone)}});

  const py::Scope name = py::make_namespace(all, "Name", "Constants of names.");
  expose_group(name, "Filter", "Filters of a name.",
               {{"LATIN", str(constants::kLatinFilter)},
                {"EN_RU", str(constants::kEnRuFilter)},
                {"EMPTY", str(constants::kEmptyFilter)},
                {"SPACE", str(constants::kSpaceFilter)},
                {"GHOST", str(constants::kGhostFilter)}});
}

}  // namespace heron
