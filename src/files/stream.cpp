#include "files/stream.h"

#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kOpen("open");

}  // namespace

py::Object open_data(const py::Object& path, const char* mode) {
  constexpr int kDefaultBuffer = -1;
  return py::modules::io.call(kOpen, path, py::text(mode), py::to_python(kDefaultBuffer), py::text(kEncoding),
                              py::Object::none(), py::text("\n"));
}

py::Object open_bytes(const py::Object& path) { return py::modules::io.call(kOpen, path, py::text("wb")); }

void write_bytes(const py::Object& stream, std::string_view bytes) {
  static const py::Name kWrite("write");
  stream.call(kWrite,
              py::Object::steal(PyBytes_FromStringAndSize(bytes.data(), static_cast<Py_ssize_t>(bytes.size()))));
}

}  // namespace heron
