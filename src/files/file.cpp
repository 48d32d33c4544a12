#include "files/file.h"

#include "files/access_queue.h"
#include "files/json_file.h"
#include "files/stream.h"
#include "runtime/modules.h"

namespace heron {
namespace {

/// Plain text of the user's own, in the encoding and with the line ends of the machine.
py::Object read_text(const py::Object& path) {
  static const py::Name kOpen("open"), kRead("read");
  py::Object content;
  with_stream(py::modules::io.call(kOpen, path), [&](const py::Object& stream) { content = stream.call(kRead); });
  return content;
}

}  // namespace

void expose_files(const py::Scope& module) {
  const py::Scope file = py::make_namespace(module, "_File", "What touches the data files of the system.");
  py::function<&json_file::move_corrupted>(
      file, "move_corrupted", {"path"},
      "Moves a file into the directory \".corrupted\" beside it, which is made if missing, under its timed name.\n\n"
      "A failure is logged, and the file stays.");
  py::function<&json_file::timed_name>(
      file, "timed_filename", {"filename"},
      "The name with the present time, in whole seconds since the epoch, before its extension: "
      "\"settings-1763200000.json\". TypeError for a name that is no text.");

  const py::Scope json = py::make_namespace(file, "Json", "JSON documents.");
  py::function<&json_file::read>(
      json, "read", {"path"},
      "The value in a file, of whatever JSON kind.\n\n"
      "OSError if it cannot be opened, ValueError for what is no JSON or no UTF-8 and for an integer of more digits "
      "than the runtime reads, 4,300 unless told otherwise, RecursionError for what is nested too deep.");
  py::function<&json_file::write>(
      json, "write", {"path", "data"},
      "Replaces the file's content, in the layout of all documents: an indent of two blanks, keys in their order, "
      "UTF-8, line feeds.\n\n"
      "UnicodeEncodeError for lone surrogates and RecursionError for more than 500 levels, before the file is touched. "
      "Any other failure leaves a file that the next reader finds corrupted: TypeError for an object that JSON cannot "
      "hold, ValueError for an integer of more digits than the runtime writes, OSError of the disk. The bytes are "
      "those of `json.dump` with an indent of 2 and without `ensure_ascii`, whose `default` is asked of other "
      "objects.");
  expose_access_queue(json);

  const py::Scope text = py::make_namespace(file, "Text", "Plain text files.");
  py::function<&read_text>(text, "read", {"path"},
                           "The whole content, read with the machine's own encoding and line ends.");
}

}  // namespace heron
