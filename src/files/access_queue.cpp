#include "files/access_queue.h"

#include <algorithm>

#include "files/json_file.h"
#include "files/paths.h"
#include "files/stream.h"
#include "files/waiting.h"
#include "foundation/clock.h"
#include "foundation/errors.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

constexpr double kGateStep = 0.5;  // seconds between two looks

py::Object random_number() {
  static const py::Name kRandom("random");
  constexpr double kRange = 1e9;
  return py::to_python(
      static_cast<Py_ssize_t>(py::From<double>::from(py::modules::random.call(kRandom).get()) * kRange));
}

/// Creates an empty file, or empties it, which renews its time.
void touch(const py::Object& path) {
  with_stream(open_data(path, "w"), [](const py::Object&) {});
}

void remove_if_there(const py::Object& path) {
  try {
    paths::remove(path);
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_FileNotFoundError)) throw;
  }
}

bool holds(const py::Object& text, const char* part) {
  return py::checked(PyUnicode_Contains(text.get(), py::text(part).get())) != 0;
}

}  // namespace

void AccessQueue::init(const py::Object& json_path, bool write_, double access_timeout_,
                       double life_duration_threshold_) {
  path = py::Text(paths::normalised(json_path));
  directory = paths::directory(path);
  filename = paths::file_name(path);
  path_lock = format("{}.lock", {path});
  path_id = format("{}.id.{}", {path, random_number()});
  write = write_;
  access_timeout = access_timeout_;
  life_duration_threshold = std::max(life_duration_threshold_, access_timeout_);
}

const py::Object& AccessQueue::enter() {
  const auto get_in = [&] {
    assert_access();
    read();
  };
  py::undo_on_failure(get_in, [&] { release_access(); });
  return data;
}

const py::Object& AccessQueue::read() {
  data = paths::exist(path) ? json_file::read(path) : py::Dict();
  return data;
}

void AccessQueue::exit() const {
  py::finally(
      [&] {
        if (!write) return;
        if (!data) py::raise(PyExc_RuntimeError, "the access queue was not entered");
        json_file::write(path, data);
      },
      [&] { release_access(); });
}

void AccessQueue::assert_built() const {
  if (!path) py::raise(PyExc_RuntimeError, "AccessQueue.__init__() was not called");
}

void AccessQueue::assert_directory() const {
  assert_built();
  if (paths::exist(directory)) return;
  PyErr_SetNone(PyExc_FileNotFoundError);
  throw py::Error();
}

void AccessQueue::assert_access() const {
  assert_directory();
  if (!is_free()) errors::raise<errors::AccessQueueTimeout>();
  if (!is_next()) errors::raise<errors::AccessQueueTimeout>();
}

bool AccessQueue::is_open() const {
  delete_outdated(path_lock);
  return !paths::exist(path_lock);
}

bool AccessQueue::is_free() const {
  assert_built();
  return wait(access_timeout, kGateStep, [&] { return is_open(); });
}

void AccessQueue::join() const {
  assert_built();
  touch(path_lock);
  touch(path_id);
}

bool AccessQueue::is_next() const {
  join();
  sleep(kStep);  // whoever passed the gate at the same time is in the queue by now
  return wait(access_timeout, kStep, [&] { return is_head(Listing(directory)); });
}

bool AccessQueue::is_head(const Listing& listing) const {
  const py::List editors = editors_among(listing);
  return !editors.empty() && editors.at(0).equals(path_id);
}

void AccessQueue::leave_queue() const {
  assert_built();
  if (paths::exist(path_id)) paths::remove(path_id);
}

void AccessQueue::open_gate(const Listing& listing) const {
  if (editors_among(listing).empty()) remove_if_there(path_lock);  // the last of a batch opens it
}

void AccessQueue::release_access() const {
  leave_queue();
  open_gate(Listing(directory));
}

AccessQueue::Listing::Listing(const py::Object& directory) {
  static const py::Name kListDirectory("listdir");
  for (py::Object& name : py::collect(py::modules::os.call(kListDirectory, directory))) {
    if (holds(name, ".id.")) ids.push_back(name);
    names.push_back(std::move(name));
  }
}

py::List AccessQueue::editors_sequence() const {
  assert_built();
  return editors_among(Listing(directory));
}

// The order of the listing is the order of the queue: all see the same, which is what counts.
py::List AccessQueue::editors_among(const Listing& listing) const {
  static const py::Name kMatch("match");
  const py::Object pattern = format(R"(^{}\.id\.\d+)", {filename});
  const bool may_match_others = holds(filename, "|") || holds(filename, "\\");
  py::List editors;
  for (const py::Object& name : may_match_others ? listing.names : listing.ids) {
    if (py::modules::re.call(kMatch, pattern, name).is_none()) continue;
    const py::Object editor = paths::join(directory, name);
    delete_outdated(editor);
    if (paths::exist(editor)) editors.append(editor);
  }
  return editors;
}

void AccessQueue::delete_outdated(const py::Object& marker) const {
  static const py::Name kModified("getmtime");
  assert_built();
  try {
    const py::Object age = clock::since(py::modules::path.call(kModified, marker));
    if (py::From<double>::from(age.get()) > life_duration_threshold) paths::remove(marker);
  } catch (const py::Error& error) {
    // It has gone, or another participant is deleting it.
    if (!error.matches(PyExc_FileNotFoundError) && !error.matches(PyExc_PermissionError)) throw;
  }
}

void expose_access_queue(const py::Scope& json) {
  py::Class<AccessQueue>(
      json, "AccessQueue",
      "The guard of one JSON document among all threads and processes that use it, as a `with` statement: entering "
      "waits until no one else is inside and gives the document, to be changed in place, leaving writes it back if "
      "`write` is true, also after an exception. Readers wait as writers do.\n\n"
      "Args:\n"
      "    json_path: The document; its directory must exist.\n"
      "    access_timeout: How many seconds to wait at the gate, and again in the queue, before "
      "Error.AccessQueueTimeout.\n"
      "    life_duration_threshold: The age in seconds at which a marker file counts as left behind and is deleted; "
      "never less than `access_timeout`.\n\n"
      "To replace the whole content, clear the document and update it. A queue serves one entry at a time, on one "
      "thread.\n\n"
      "Nothing but marker files beside the document is used: \".lock\" closes the gate, \".id.\" and a number stands "
      "for each participant inside it, and the first of them in the listing of the directory is next. So the guard is "
      "a lease: who stays for longer than the threshold loses it. And it has two limits. A participant that stalls for "
      "more than 0.1 seconds between finding the gate open and making its id file may come when another is inside "
      "already. One that stalls between deleting its id file and deleting the lock for as long as another's whole turn "
      "may open the gate of a new batch, whose members then meet newcomers. The document's name must mean itself as a "
      "regular expression.")
      .no_copies("it guards a file")
      .init<&AccessQueue::init>({"json_path",
                                 {"write", false},
                                 {"access_timeout", AccessQueue::kAccessTimeout},
                                 {"life_duration_threshold", AccessQueue::kLifeDurationThreshold}})
      .operation<&AccessQueue::enter>(
          "__enter__",
          "Waits for access and reads the document; an empty map where there is no file.\n\n"
          "FileNotFoundError if the directory is missing, Error.AccessQueueTimeout if others take too long, ValueError "
          "if the document is corrupted.")
      .operation<&AccessQueue::leave>("__exit__", {"exc_type", "exc_val", "exc_tb"},
                                      "Writes the document, if that was asked for, and lets the next one in.\n\n"
                                      "Only after an `__enter__` that succeeded.")
      .operation<&AccessQueue::assert_access>("_assert_access",
                                              "Waits for access: FileNotFoundError, or Error.AccessQueueTimeout.")
      .operation<&AccessQueue::is_free>("_is_free", "Waits until the gate is open; false if that takes too long.")
      .operation<&AccessQueue::is_next>("_is_next",
                                        "Joins the queue and waits for its head; false if that takes too long.")
      .operation<&AccessQueue::release_access>("_release_access",
                                               "Leaves the queue; the last one to leave opens the gate.")
      .operation<&AccessQueue::editors_sequence>(
          "_get_editors_sequence", "The id files in the order of the queue, less the outdated ones, which it deletes.")
      .operation<&AccessQueue::delete_outdated>("_delete_outdated", {"path"},
                                                "Deletes a marker file that is older than the threshold.")
      .readonly<&AccessQueue::path>("_path", "str: The document's path, normalised.")
      .readonly<&AccessQueue::directory>("_directory",
                                         "str: The directory of the document; empty if the path has none.")
      .readonly<&AccessQueue::filename>("_filename", "str: The document's name in its directory.")
      .readonly<&AccessQueue::path_lock>("_path_lock", "str: The path of the lock file.")
      .readonly<&AccessQueue::path_id>("_path_id", "str: The path of this participant's id file.")
      .readonly<&AccessQueue::write>("_write", "bool: Whether the document is written back.")
      .readonly<&AccessQueue::access_timeout>("_access_timeout", "float: How long each wait may last, in seconds.")
      .readonly<&AccessQueue::life_duration_threshold>("_life_duration_threshold",
                                                       "float: The age at which a marker file is outdated, in seconds.")
      .readonly<&AccessQueue::data>("_data", "Any: The document, None before the first entry.")
      .done();
}

}  // namespace heron
