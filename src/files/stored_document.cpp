#include "files/stored_document.h"

#include "files/access_queue.h"
#include "files/json_file.h"
#include "foundation/logger.h"
#include "foundation/text.h"

namespace heron {

py::Object read_stored_document(const py::Object& path, std::string_view corrupted) {
  py::Object stored;
  try {
    with_document(path, false, [&](const py::Object& document) { stored = document; });
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    if (error.matches(PyExc_ValueError)) {
      logger::error(format(corrupted, {path}));
      json_file::move_corrupted(path);
    } else {
      logger::caught(error);
    }
    return {};  // even if it was read and only the release failed
  }
  return stored;
}

}  // namespace heron
