#include "server/update_tracker.h"

#include <algorithm>

#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

py::List parts_of(const py::Object& version) {
  static const py::Name kSplit("split");
  return py::List(version.call(kSplit, py::text(".")));
}

py::Object joined(const py::List& parts) { return py::Object::steal(PyUnicode_Join(py::text(".").get(), parts.get())); }

bool is_decimal(const py::Object& part) {
  static const py::Name kIsDecimal("isdecimal");
  return part.call(kIsDecimal).truth();
}

/// A part as a number. The runtime refuses to make integers of very many digits, which a server may send.
py::Object number(const py::Object& part) {
  static const py::Name kDecimal("Decimal");
  try {
    return py::Object::steal(PyNumber_Long(part.get()));
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_ValueError) || !is_decimal(part)) throw;
    return py::modules::decimal.call(kDecimal, part);
  }
}

}  // namespace

void UpdateTracker::init(const py::Object& api, const py::Iterable& version) {
  static const py::Name kSettings("settings"), kUrls("urls");
  urls = api.attr(kSettings).attr(kUrls);
  local_version = handle_version(version);
  remote_version = py::Object::none();
  accepted = true;
}

bool UpdateTracker::exist() {
  remote_version = py::Object::none();
  remote_version = get_version_response();
  return remote_version.truth() && is_above_version(py::Text(local_version), py::Text(remote_version));
}

py::Object UpdateTracker::handle_version(const py::Iterable& value) const {
  py::List parts;
  for (const py::Object& element : py::collect(value)) {
    const py::Object integer = py::Object::steal(PyNumber_Index(element.get()));
    parts.append(integer.string());
  }
  if (parts.empty()) parts.append(py::text("0"));
  return clean_version(py::Text(joined(parts)));
}

py::Object UpdateTracker::get_version_response() const {
  static const py::Name kHost("host");
  py::Object host = py::Object::none();
  try {
    host = urls.attr(kHost);
    return ask_server(host);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::error(format("Could not check version for update from {}", {printable(host)}));
    return py::Object::none();
  }
}

py::Object UpdateTracker::ask_server(const py::Object& host) const {
  static const py::Name kHttpsConnection("HTTPSConnection"), kRequest("request"), kGetResponse("getresponse");
  static const py::Name kGetHeader("getheader"), kClose("close"), kPath("path"), kLatest("latest");
  const py::Object connection = py::modules::http_client.call(kHttpsConnection, host);
  connection.call(kRequest, py::text("GET"), urls.attr(kPath).attr(kLatest));
  const py::Object version = connection.call(kGetResponse).call(kGetHeader, py::text("Heron-Version"), py::text(""));
  if (is_version(version)) return clean_version(py::Text(version));
  connection.call(kClose);
  return py::Object::none();
}

bool UpdateTracker::is_version(const py::Object& string) {
  if (!string.is_text()) return false;
  const std::vector<py::Object> parts = parts_of(string).items();
  return std::all_of(parts.begin(), parts.end(), is_decimal);
}

py::Object UpdateTracker::clean_version(const py::Text& string) {
  constexpr Py_ssize_t kParts = 3;
  const py::List parts = parts_of(string);
  while (parts.size() < kParts) parts.append(py::text("0"));
  return joined(parts);
}

bool UpdateTracker::is_above_version(const py::Text& lower, const py::Text& upper) {
  const std::vector<py::Object> lows = parts_of(lower).items(), highs = parts_of(upper).items();
  for (std::size_t i = 0; i < std::min(lows.size(), highs.size()); ++i) {
    const py::Object low = number(lows[i]), high = number(highs[i]);
    if (!low.equals(high)) return low.is_less(high);
  }
  return false;
}

void expose_update_tracker(const py::Scope& module) {
  py::Class<UpdateTracker>(
      module, "UpdateTracker",
      "Asks the server whether it has a newer version.\n\n"
      "Args:\n"
      "    api: Gives the server's URLs.\n"
      "    local_version: The numbers of the running version; TypeError for others than integers.\n\n"
      "A version text is a dotted list of decimal numbers, of any script and length.")
      .no_copies("it belongs to the application")
      .init<&UpdateTracker::init>({"api", "local_version"})
      .operation<&UpdateTracker::exist>(
          "exist",
          "Whether the server has a newer version. A failure to ask is logged, and says no.\n\n"
          "Blocks on the network, with no time-out but the platform's: for a thread of its own.")
      .operation<&UpdateTracker::handle_version>("_handle_version", {"value"},
                                                 "Numbers as a version text; \"0.0.0\" for none.")
      .operation<&UpdateTracker::get_version_response>(
          "_get_version_response",
          "Asks the server for its version, from the header \"Heron-Version\". None if it does not tell a version; "
          "None after any failure, which is logged.")
      .static_operation<&UpdateTracker::is_version>("_is_version", {"string"}, "Whether a value is a version text.")
      .static_operation<&UpdateTracker::clean_version>("_clean_version", {"string"},
                                                       "A version text with zeros for what it lacks of three parts.")
      .static_operation<&UpdateTracker::is_above_version>(
          "_is_above_version", {"lower", "upper"},
          "Whether the version `upper` is newer than `lower`. Parts that only one of them has do not count.\n\n"
          "ValueError for a part that is no number.")
      .readonly<&UpdateTracker::accepted>("accepted", "bool: Whether the tracker was built.")
      .readonly<&UpdateTracker::remote_version>("version",
                                                "str | None: The version that the server told last, or None.")
      .readonly<&UpdateTracker::urls>("_urls", "Any: Host and paths of the server.")
      .readonly<&UpdateTracker::local_version>("_local_version", "str: The running version.")
      .readonly<&UpdateTracker::remote_version>("_remote_version",
                                                "str | None: The version that the server told last, or None.")
      .readonly<&UpdateTracker::accepted>("_accepted", "bool: Whether the tracker was built.")
      .done();
}

}  // namespace heron
