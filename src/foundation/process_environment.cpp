#include "foundation/process_environment.h"

#include "runtime/containers.h"
#include "runtime/modules.h"
#include "runtime/text.h"

namespace heron {
namespace {

const py::Object& variables() {
  static const py::Name kEnviron("environ");
  static const auto* environ = new py::Object(py::modules::os.attr(kEnviron));
  return *environ;
}

}  // namespace

py::Object process_environment::get(const py::Name& key) { return py::get(variables(), key); }

void process_environment::set(const char* key, const py::Object& value) { variables().set_item(py::text(key), value); }

}  // namespace heron
