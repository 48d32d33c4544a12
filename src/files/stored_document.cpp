#include "files/stored_document.h"

#include "files/access_queue.h"
#include "files/json_file.h"
#include "files/paths.h"
#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

void move_aside(const py::Object& path, std::string_view corrupted) {
  logger::error(format(corrupted, {path}));
  json_file::move_corrupted(path);
}

/// Writes a document over what is in the file. A copy beside it takes its place again if that fails, as on a full disk.
void write_over(const py::Object& path, const py::Object& contents) {
  static const py::Name kCopy("copy2"), kReplace("replace");
  const py::Object copy = format("{}.before", {path});
  const auto remove = [](const py::Object& file) {
    if (paths::exist(file)) paths::remove(file);
  };
  const bool is_there = paths::exist(path);
  if (is_there) py::undo_on_failure([&] { py::modules::shutil.call(kCopy, path, copy); }, [&] { remove(copy); });
  const auto put_back = [&] {
    if (is_there) {
      py::modules::os.call(kReplace, copy, path);
    } else {
      remove(path);
    }
  };
  py::undo_on_failure([&] { json_file::write(path, contents); }, put_back);
  if (is_there) remove(copy);
}

}  // namespace

py::Object read_stored_document(const py::Object& path, std::string_view corrupted, py::Object& failure) {
  failure = py::Object();
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
    failure = kept(error);
    return {};  // even if it was read and only the release failed
  }
  return stored;
}

void replace_stored_document(const py::Object& path, const py::Dict& contents) {
  json_file::encoded(contents);
  with_document(path, false, [&](const py::Object& document) {
    [[maybe_unused]] const py::Dict stored(document);  // TypeError for a file that holds another kind of JSON
    write_over(path, contents);
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
