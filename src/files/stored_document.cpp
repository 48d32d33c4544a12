#include "files/stored_document.h"

#include "files/access_queue.h"
#include "files/json_file.h"
#include "foundation/logger.h"
#include "foundation/text.h"

namespace heron {
namespace {

void move_aside(const py::Object& path, std::string_view corrupted) {
  logger::error(format(corrupted, {path}));
  json_file::move_corrupted(path);
}

}  // namespace

py::Object read_stored_document(const py::Object& path, std::string_view corrupted) {
  py::Object stored;
  try {
    with_document(path, false, [&](const py::Object& document) { stored = document; });
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    if (error.matches(PyExc_ValueError)) {
      move_aside(path, corrupted);
    } else {
      logger::caught(error);
    }
    return {};  // even if it was read and only the release failed
  }
  return stored;
}

void replace_stored_document(const py::Object& path, const py::Dict& contents) {
  json_file::rehearse(contents);  // a failure after the file is opened would cut it off
  with_document(path, true, [&](const py::Object& document) {
    const py::Dict stored(document);
    stored.clear();
    stored.update(contents);
  });
}

void change_stored_document(const py::Object& path, std::string_view corrupted,
                            const std::function<void(const py::Object& document)>& change) {
  bool is_read = false;
  const auto use = [&](const py::Object& document) {
    is_read = true;
    change(document);
  };
  try {
    with_document(path, true, use);
  } catch (const py::Error& error) {
    if (is_read || !error.matches(PyExc_ValueError)) throw;
    logger::caught(error);
    move_aside(path, corrupted);
    with_document(path, true, use);
  }
}

}  // namespace heron
