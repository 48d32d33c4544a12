#include "server/statistics.h"

#include "files/json_file.h"
#include "files/paths.h"
#include "files/stored_document.h"
#include "foundation/kept_error.h"
#include "foundation/lock.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"
#include "server/statistics_document.h"
#include "server/statistics_exchange.h"
#include "server/statistics_records.h"

namespace heron {
namespace {

const py::Name kVersionName("version");

constexpr std::string_view kCorrupted = "Read Corrupted Statistics: {}";

bool is_newer(const py::Object& version) {
  const bool is_number = PyLong_Check(version.or_none()) != 0 || PyFloat_Check(version.or_none()) != 0;
  const py::Object ours = py::to_python(Statistics::kVersion);
  return is_number && py::checked(PyObject_RichCompareBool(version.get(), ours.get(), Py_GT)) != 0;
}

void warn_of_unwritable() { logger::warning(py::text("Statistics Records Cannot Be Written")); }

/// What of the records can be sent: mostly all of them, and then nothing is tried by itself.
py::Dict sendable(const py::Dict& data) {
  if (json_file::is_writable(data)) return data;
  warn_of_unwritable();
  return SoundStatistics(data).content();
}

}  // namespace

void Statistics::init(const py::Object& environment) {
  static const py::Name kLock("Lock"), kGetStatisticsFile("get_statistics_file");
  mutex = py::modules::threading.call(kLock);
  path = paths::plain(environment.call(kGetStatisticsFile));
  data = read();
  ensure_attributes();
}

void Statistics::add(const py::Object& record) const {
  static const py::Name kKey("key"), kData("data");
  const py::Object key = record.attr(kKey), entry = record.attr(kData);  // foreign code does not run under the lock
  keep(key, entry);
}

void Statistics::keep(const py::Object& category, const py::Object& entry) const {
  locked(mutex, [&] {
    if (const auto records = data.find(category)) py::List(*records).append(entry);
  });
}

void Statistics::write(bool clear) {
  write_error = py::Object();
  const auto change = [&](const py::Object& stored) {
    const py::Dict document(stored);
    clear ? document.clear() : extend(document);
  };
  try {
    locked(mutex, [&] { change_stored_document(path, kCorrupted, change); });
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    write_error = kept(error);
  }
}

py::Object Statistics::create_http_request(const py::Object& username) const {
  static const py::Name kDeepCopy("deepcopy");
  py::Object contents;
  locked(mutex, [&] { contents = py::modules::copy.call(kDeepCopy, sendable(data)); });
  return py::made<StatisticsRequest>(username, contents);
}

void Statistics::accept_http_response(const py::Object& response, bool clear_sent) {
  if (!py::made<StatisticsResponse>(response)->accepted) return;
  logger::debug(py::text("Statistics Sent"));
  if (!clear_sent) return;
  clear();
  write(true);
  logger::debug(py::text("Clear Local Statistics"));
}

py::Dict Statistics::read() {
  read_error = py::Object();
  ignored = py::tuple({});
  if (!paths::exist(path)) return {};
  const auto [stored, failure] = read_stored_document(path, kCorrupted);
  read_error = failure;
  if (!stored) return {};
  const py::Object version = py::get(stored, kVersionName, py::to_python(0));
  if (is_newer(version)) {
    logger::warning(format("Incompatible Statistics Version - {}", {path}));
    const py::Object ours = py::to_python(kVersion);
    read_error = kept(PyExc_ValueError, format("statistics of version {!r}, newer than {}", {version, ours}));
    return {};
  }
  if (PyDict_Check(stored.get()) == 0) {
    logger::warning(format("Incompatible Statistics File - {}", {path}));
    read_error = kept(PyExc_TypeError, py::text("the document is not a mapping"));
    return {};
  }
  const SoundStatistics sound{py::Dict(stored)};
  if (!sound.is_whole()) logger::warning(format("Incompatible Statistics Records - {}", {path}));
  ignored = sound.partial();
  return sound.content();
}

void Statistics::ensure_attributes() const {
  for (const std::string_view category : kCategories) {
    if (!data.find(py::text(category))) data.set(py::text(category), py::List());
  }
  if (!data.find(kVersionName)) data.set(kVersionName, py::to_python(kVersion));
}

void Statistics::extend(const py::Dict& document) const {
  const SoundStatistics stored(document), ours(data);
  if (!ours.is_whole()) warn_of_unwritable();
  if (!stored.is_whole()) {
    logger::warning(format("Incompatible Statistics Records - {}", {path}));
    // What is left out would be gone with the write: the file is kept, in another place, or nothing changes.
    if (paths::exist(path)) json_file::set_aside(path);
    document.clear();
    document.update(stored.content());
  }
  const py::Dict table = timed_table::of(document);
  for (const auto& [category, records] : timed_table::of(ours.content()).items()) {
    timed_table::bucket(table, category).update(py::Dict(records));
  }
  document.update(timed_table::flat(table));
}

void Statistics::clear() const {
  locked(mutex, [&] {
    for (const py::Object& value : data.values()) {
      if (PyList_Check(value.or_none()) != 0) py::List(value).clear();
    }
  });
}

void expose_statistics(const py::Scope& module) {
  const py::Scope statistics =
      py::Class<Statistics>(
          module, "_Statistics",
          "The local store of the records of use: in memory, and in a file that several processes may share.\n\n"
          "Args:\n"
          "    environment: Gives the file.\n\n"
          "A missing file is an empty one; a corrupted file is moved aside and logged, one of a newer version is left "
          "alone and logged; `read_error` says why. AttributeError for a file whose JSON is no object. Each list in "
          "the file is a category of "
          "records, which are told apart by their \"timestamp\". What is no such record, a category of ours that is no "
          "list, a \"version\" that is no number, and what cannot be written as JSON in UTF-8, is left out with a "
          "warning, and `ignored` names the category; before a write drops it, the file is moved aside. Other members "
          "of the file are kept.")
          .no_copies("it stands for a file")
          .init<&Statistics::init>({"environment"})
          .attribute("version", py::to_python(Statistics::kVersion))
          .operation<&Statistics::add>("add", {"record"},
                                       "Keeps `record.data` in the category `record.key`, in memory. A category that "
                                       "does not exist keeps nothing.")
          .operation<&Statistics::write>(
              "write", {{"clear", false}},
              "Merges the records in memory into the file, by category and time; with `clear`, empties the file "
              "instead.\n\n"
              "Waits for the file's queue, and `add` waits meanwhile. A failure is logged, `write_error` keeps it, and "
              "the "
              "records stay. "
              "Records in memory that cannot be written are passed over with a warning. A file found corrupted is "
              "logged and moved aside, and a new one written.")
          .operation<&Statistics::create_http_request>(
              "create_http_request", {"username"},
              "An `HttpRequest` with a deep copy of the records; without those that cannot be written, if there are "
              "any, and with a warning.")
          .operation<&Statistics::accept_http_response>(
              "accept_http_response", {"response", {"clear", true}},
              "Takes the server's answer. If it took the records, `clear` drops them, from the file too.")
          .operation<&Statistics::ensure_attributes>("_ensure_attributes", "Adds the categories and the version.")
          .operation<&Statistics::read>("_read",
                                        "The records in the file, a new dict. See the class for what is left out.")
          .operation<&Statistics::extend>(
              "_extend", {"json_data"},
              "Merges the records in memory into a document, in place. Those in memory replace those of the same time; "
              "\"version\" stays as it is. If the document has what cannot be kept, the store's own file is moved "
              "aside first: OSError if that fails.")
          .operation<&Statistics::clear>("_clear", "Empties every list in memory, in place.")
          .static_operation<&timed_table::of>("_timed_table", {"json_data"},
                                              "Category to timestamp to record. The member \"version\", in any letter "
                                              "case, and what is no list are no categories.")
          .static_operation<&timed_table::bucket>(
              "_timed_bucket", {"records", "category"},
              "The records of a category; a new dict joins the table if there is none.")
          .static_operation<&timed_table::flat>("_flat_records", {"timed_table"}, "Category to list of records.")
          .readonly<&Statistics::read_error>("read_error", "Exception | None: Why the file could not be used.")
          .readonly<&Statistics::write_error>("write_error", "Exception | None: Why the last `write` failed.")
          .readonly<&Statistics::ignored>(
              "ignored",
              "tuple[str, ...]: The members of the file of which something could not be used when it was read.")
          .readonly<&Statistics::mutex>("_mutex_edit", "Any: Guards `_data`.")
          .readonly<&Statistics::path>("_path", "str: The file.")
          .readonly<&Statistics::data>("_data", "dict[str, Any]: The lists of records by category, and \"version\".")
          .done();
  expose_statistics_records(statistics);
  expose_statistics_exchange(statistics);
}

}  // namespace heron
