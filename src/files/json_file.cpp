#include "files/json_file.h"

#include <algorithm>

#include "files/json_writer.h"
#include "files/paths.h"
#include "files/stream.h"
#include "foundation/assertions.h"
#include "foundation/clock.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron::json_file {
namespace {

/// Where a corrupted file is kept from now on; the directory is made if missing.
py::Object place_aside(const py::Object& path) {
  const py::Object directory = paths::join(paths::directory(path), py::text(".corrupted"));
  paths::make_directory(directory);
  return paths::join(directory, timed_name(paths::file_name(path)));
}

void move(const py::Object& path, const py::Object& place) {
  static const py::Name kMove("move");
  py::modules::shutil.call(kMove, path, place);
}

}  // namespace

py::Object read(const py::Object& path) {
  static const py::Name kLoad("load");
  py::Object data;
  with_stream(open_data(path, "r"), [&](const py::Object& stream) { data = py::modules::json.call(kLoad, stream); });
  return data;
}

void write(const py::Object& path, const py::Object& data) {
  assertions::clean(data);
  with_stream(open_bytes(path), [&](const py::Object& stream) {
    json_writer::write(data, [&](std::string_view piece) { write_bytes(stream, piece); });
  });
}

std::string encoded(const py::Object& data) { return json_writer::bytes(assertions::clean(data)); }

void put(const py::Object& path, std::string_view encoded) {
  constexpr std::size_t kPiece = 1 << 20;  // bytes, so that a large document is not copied as a whole
  with_stream(open_bytes(path), [&](const py::Object& stream) {
    for (; !encoded.empty(); encoded.remove_prefix(std::min(kPiece, encoded.size()))) {
      write_bytes(stream, encoded.substr(0, kPiece));
    }
  });
}

bool is_writable(const py::Object& data) {
  try {
    json_writer::write(assertions::clean(data), [](std::string_view) {});
    return true;
  } catch (const py::Error& error) {
    for (PyObject* refusal : {PyExc_TypeError, PyExc_ValueError, PyExc_RecursionError}) {
      if (error.matches(refusal)) return false;
    }
    throw;
  }
}

py::Object timed_name(const py::Object& file_name) {
  static const py::Name kSplitExtension("splitext");
  const std::vector<py::Object> parts = py::collect(py::modules::path.call(kSplitExtension, file_name));
  return format("{}-{:.0f}{}", {py::Text(parts[0]), clock::now(), parts[1]});
}

void move_corrupted(const py::Object& path) {
  try {
    move(path, place_aside(path));
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
  }
}

void set_aside(const py::Object& path) {
  const py::Object place = place_aside(path);
  if (paths::exist(place)) py::raise(PyExc_FileExistsError, "another file was moved aside in this second");
  move(path, place);
}

}  // namespace heron::json_file
