#include "files/json_file.h"

#include "files/paths.h"
#include "files/stream.h"
#include "foundation/assertions.h"
#include "foundation/clock.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron::json_file {
namespace {

/// The layout of a document: readable, in the order of its keys, each character as itself.
py::Dict layout() {
  static const py::Name kIndent("indent"), kEnsureAscii("ensure_ascii");
  constexpr int kSpaces = 2;
  py::Dict options;
  options.set(kIndent, py::to_python(kSpaces));
  options.set(kEnsureAscii, py::to_python(false));
  return options;
}

void dump(const py::Object& data, const py::Object& stream) {
  static const py::Name kDump("dump");
  py::modules::json.attr(kDump).apply(py::tuple({data, stream}), layout());
}

void set_aside(const py::Object& path) {
  static const py::Name kMove("move");
  const py::Object directory = paths::join(paths::directory(path), py::text(".corrupted"));
  paths::make_directory(directory);
  py::modules::shutil.call(kMove, path, paths::join(directory, timed_name(paths::file_name(path))));
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
  with_stream(open_data(path, "w"), [&](const py::Object& stream) { dump(data, stream); });
}

void rehearse(const py::Object& data) {
  static const py::Name kDumps("dumps"), kEncode("encode");
  py::modules::json.attr(kDumps).apply(py::tuple({data}), layout()).call(kEncode, py::text(kEncoding));
}

py::Object timed_name(const py::Object& file_name) {
  static const py::Name kSplitExtension("splitext");
  const std::vector<py::Object> parts = py::collect(py::modules::path.call(kSplitExtension, file_name));
  return format("{}-{:.0f}{}", {parts[0], clock::now(), parts[1]});
}

void move_corrupted(const py::Object& path) {
  try {
    set_aside(path);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
  }
}

}  // namespace heron::json_file
