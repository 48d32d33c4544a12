#pragma once

#include "runtime/class.h"

namespace heron {

/// The records of a user, on their way to the server.
class StatisticsRequest {
 public:
  void init(const py::Object& username, const py::Object& contents);
  py::Object text() const;   ///< The body: JSON on one line; UnicodeEncodeError for lone surrogates.
  py::Object bytes() const;  ///< The body, encoded.

  py::Object username, contents;

  template <class V>
  void members(V& visit) {
    visit(username);
    visit(contents);
  }
};

/// What the server said to the records; only its status counts.
class StatisticsResponse {
 public:
  static bool check(const py::Object& response);

  void init(const py::Object& response) { accepted = check(response); }

  bool accepted = false;

  template <class V>
  void members(V& visit) {
    visit(accepted);
  }
};

/// Puts `HttpRequest` and `HttpResponse` into `_Statistics`.
void expose_statistics_exchange(const py::Scope& statistics);

}  // namespace heron
