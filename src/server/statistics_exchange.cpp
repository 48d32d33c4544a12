#include "server/statistics_exchange.h"

#include "files/json_body.h"
#include "foundation/safe_access.h"

namespace heron {
namespace {

const py::Name kUsername("username"), kContents("contents");

}  // namespace

void StatisticsRequest::init(const py::Object& user, const py::Object& records) {
  username = user;
  contents = records;
}

py::Object StatisticsRequest::text() const {
  py::Dict body;
  body.set(kUsername, username);
  body.set(kContents, contents);
  return json_body::text(body);
}

py::Object StatisticsRequest::bytes() const { return json_body::bytes(text()); }

bool StatisticsResponse::check(const py::Object& response) {
  static const py::Name kStatus("status");
  constexpr int kOk = 200;
  const auto is_ok = [&] { return py::to_python(response.attr(kStatus).equals(py::to_python(kOk))); };
  return safe_access::call(is_ok).truth();
}

void expose_statistics_exchange(const py::Scope& statistics) {
  py::Class<StatisticsRequest>(
      statistics, "HttpRequest",
      "The records of a user, on their way to the server.\n\n"
      "The text form is the body, JSON on one line, and `bytes` gives it encoded. Both raise TypeError for contents "
      "that JSON cannot hold, RecursionError for such as are too deep, UnicodeEncodeError for lone surrogates.")
      .copies()
      .init<&StatisticsRequest::init>({"username", "contents"})
      .attribute("headers", json_body::headers())
      .readonly<&StatisticsRequest::username>("username", "str: Who sends it.")
      .readonly<&StatisticsRequest::contents>("contents", "dict[str, Any]: The records, by category.")
      .readonly<&StatisticsRequest::contents>("_contents", "dict[str, Any]: The records, by category.")
      .operation<&StatisticsRequest::bytes>("__bytes__", "The body in UTF-8.")
      .text<&StatisticsRequest::text>()
      .done();

  py::Class<StatisticsResponse>(statistics, "HttpResponse", "What the server said to the records.")
      .copies()
      .init<&StatisticsResponse::init>({"response"})
      .readonly<&StatisticsResponse::accepted>("accepted", "bool: Whether the server took the records.")
      .readonly<&StatisticsResponse::accepted>("_accepted", "bool: Whether the server took the records.")
      .static_operation<&StatisticsResponse::check>(
          "_check", {"response"}, "Whether the `status` is 200. A failure to read it is logged, and says no.")
      .done();
}

}  // namespace heron
