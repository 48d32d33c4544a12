#include "application/directory_dialog.h"

#include "host/operator.h"
#include "runtime/containers.h"

namespace heron {

py::Object ask_directory(const py::Object& host, const py::Object& starting) {
  static const py::Name kStarting("starting"), kCaption("caption");
  py::Dict named;
  named.set(kStarting, starting);
  named.set(kCaption, py::text("Set Directory"));
  return host.attr(host::kDirectoryDialog).apply(py::tuple({}), named);
}

}  // namespace heron
