#include "foundation/version.h"

namespace heron {

// The numbers come from the build: CMakeLists.txt has the version.
void expose_version(const py::Scope& module) {
  module.set("version", py::tuple({py::to_python(HERON_VERSION_MAJOR), py::to_python(HERON_VERSION_MINOR),
                                   py::to_python(HERON_VERSION_PATCH)}));
}

}  // namespace heron
