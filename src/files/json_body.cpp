#include "files/json_body.h"

#include "foundation/assertions.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron::json_body {

py::Object headers() {
  py::Dict headers;
  headers.set(py::text(kTypeHeader), py::text(kType));
  return headers;
}

py::Object text(const py::Object& document) {
  static const py::Name kDumps("dumps"), kEnsureAscii("ensure_ascii");
  py::Dict options;
  options.set(kEnsureAscii, py::to_python(false));
  return to_str(py::modules::json.attr(kDumps).apply(py::tuple({assertions::clean(document)}), options));
}

py::Object bytes(const py::Object& text) {
  static const py::Name kEncode("encode");
  return text.call(kEncode, py::text(kEncoding));
}

}  // namespace heron::json_body
