#include "foundation/stamp.h"

#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {

py::Object fresh_stamp() {
  static const py::Name kUuid4("uuid4"), kHex("hex");
  constexpr Py_ssize_t kDigits = 16;
  const py::Object digits = py::modules::uuid.call(kUuid4).attr(kHex);
  return to_str(py::Object::steal(PyUnicode_Substring(digits.get(), 0, kDigits)));
}

}  // namespace heron
