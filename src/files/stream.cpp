#include "files/stream.h"

#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {

py::Object open_data(const py::Object& path, const char* mode) {
  static const py::Name kOpen("open");
  constexpr int kDefaultBuffer = -1;
  return py::modules::io.call(kOpen, path, py::text(mode), py::to_python(kDefaultBuffer), py::text(kEncoding),
                              py::Object::none(), py::text("\n"));
}

}  // namespace heron
