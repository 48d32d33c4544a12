#include "host/host_application.h"

#include "runtime/modules.h"

namespace heron {
namespace {

struct Candidate {
  const char* module;
  const char* name;
};
constexpr Candidate kCandidates[] = {
    {"bpy", "Blender"}, {"maya.cmds", "Maya"}, {"MaxPlus", "3dsMax"}, {"pymxs", "3dsMax"}};

/// A module that raises when it is loaded serves as little as one that is missing.
bool loads(const char* module) {
  static const py::Name kImportModule("import_module");
  try {
    py::modules::importlib.call(kImportModule, py::text(module));
    return true;
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    return false;
  }
}

std::string detect() {
  for (const Candidate& host : kCandidates) {
    if (loads(host.module)) return host.name;
  }
  return "Unknown";
}

}  // namespace

void expose_host_application(const py::Scope& module) {
  const py::Scope software = py::make_namespace(module, "_Software", "The host application.");
  py::function<&detect>(software, "detect", {},
                        "The host's name, by which of the scripting modules can be loaded: \"Blender\", \"Maya\", "
                        "\"3dsMax\" or \"Unknown\".");
}

}  // namespace heron
