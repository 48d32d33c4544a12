#include "foundation/https.h"

#include "runtime/modules.h"

namespace heron {

// The servers of studios stand inside their networks with certificates that they signed themselves, and the
// front-ends that connect to them know of no setting: this was decided for all connections at once.
void accept_any_certificate() {
  static const py::Name kDefault("_create_default_https_context"), kUnverified("_create_unverified_context");
  try {
    py::modules::ssl.get().set_attr(kDefault, py::modules::ssl.attr(kUnverified));
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_ImportError)) throw;  // some hosts come without it, and so without HTTPS
  }
}

}  // namespace heron
