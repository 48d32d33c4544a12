#include "files/stored_document.h"

#include <string>

#include "files/access_queue.h"
#include "files/document_reader.h"
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

void remove_if_there(const py::Object& path) {
  if (paths::exist(path)) paths::remove(path);
}

py::Object kept_copy(const py::Object& path) {
  const py::Object directory = paths::join(paths::directory(path), py::text(".backup"));
  return paths::join(directory, paths::file_name(path));
}

void duplicate(const py::Object& path, const py::Object& copy) {
  static const py::Name kCopy("copy2");
  py::undo_on_failure([&] { py::modules::shutil.call(kCopy, path, copy); }, [&] { remove_if_there(copy); });
}

/// Has the copy hold what the file does. One that was kept mostly does, unless another program wrote the file.
void bring_up_to_date(const py::Object& copy, const py::Object& path) {
  static const py::Name kCompare("cmp");
  if (!paths::exist(copy) || !py::modules::filecmp.call(kCompare, path, copy).truth()) duplicate(path, copy);
}

py::Object place_of_copy(const py::Object& path, Copy kind) {
  if (kind == Copy::kDropped) return format("{}.before", {path});
  py::Object copy = kept_copy(path);
  paths::make_directory(paths::directory(copy));
  return copy;
}

/// What was written is whole, whether its copy can be renewed or not.
void renew(const py::Object& copy, const py::Object& path) {
  try {
    duplicate(path, copy);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
  }
}

/// Writes over what is in the file. The copy takes its place again if that fails, as on a full disk.
void write_over(const py::Object& path, const std::string& contents, Copy kind) {
  static const py::Name kReplace("replace");
  const py::Object copy = place_of_copy(path, kind);
  const bool is_there = paths::exist(path);
  if (is_there) bring_up_to_date(copy, path);
  const auto put_back = [&] {
    if (is_there) {
      py::modules::os.call(kReplace, copy, path);
    } else {
      remove_if_there(path);
    }
  };
  py::undo_on_failure([&] { json_file::put(path, contents); }, put_back);
  if (kind == Copy::kKept) {
    renew(copy, path);
  } else {
    remove_if_there(copy);
  }
}

StoredDocument taken_up(const py::Object& path, const ReadDocument& read, std::string_view corrupted) {
  if (!read.error) return {read.document, {}};
  if (read.error->matches(PyExc_ValueError)) {
    move_aside(path, corrupted);
  } else {
    logger::caught(*read.error);
  }
  return {{}, kept(*read.error)};
}

}  // namespace

StoredDocument read_stored_document(const py::Object& path, std::string_view corrupted) {
  return read_stored_documents({path}, corrupted).front();
}

std::vector<StoredDocument> read_stored_documents(const std::vector<py::Object>& paths, std::string_view corrupted) {
  const std::vector<ReadDocument> read = read_documents(paths);
  std::vector<StoredDocument> stored;
  stored.reserve(paths.size());
  for (std::size_t i = 0; i < paths.size(); ++i) stored.push_back(taken_up(paths[i], read[i], corrupted));
  return stored;
}

py::Object restore_stored_document(const py::Object& path) {
  const py::Object copy = kept_copy(path);
  py::Object restored;
  const auto restore = [&](const py::Object& present) {
    restored = paths::exist(path) ? present : json_file::read(copy);  // another process may have been faster
    if (!paths::exist(path)) duplicate(copy, path);
  };
  try {
    if (paths::exist(copy)) with_document(path, false, restore);
    return restored;
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    return {};
  }
}

void remove_kept_copy(const py::Object& path) { remove_if_there(kept_copy(path)); }

void replace_stored_document(const py::Object& path, const py::Dict& contents, Copy copy) {
  const std::string encoded = json_file::encoded(contents);
  with_document(path, false, [&](const py::Object& document) {
    [[maybe_unused]] const py::Dict stored(document);  // TypeError for a file that holds another kind of JSON
    write_over(path, encoded, copy);
  });
}

void change_stored_document(const py::Object& path, std::string_view corrupted,
                            const std::function<void(const py::Object& document)>& change) {
  bool is_read = false;
  const auto use = [&](const py::Object& document) {
    is_read = true;
    change(document);
    write_over(path, json_file::encoded(document), Copy::kDropped);
  };
  try {
    with_document(path, false, use);
  } catch (const py::Error& error) {
    if (is_read || !error.matches(PyExc_ValueError)) throw;
    logger::caught(error);
    move_aside(path, corrupted);
    with_document(path, false, use);
  }
}

}  // namespace heron
