#pragma once

#include "runtime/class.h"

namespace heron {

/// The projects of one target, on their way to the server.
class ProjectsRequest {
 public:
  void init(const py::Object& target, const py::Object& projects);
  py::Object iterate() const { return projects.iterate(); }
  py::Object text() const;   ///< The body: JSON on one line.
  py::Object bytes() const;  ///< The body, encoded; UnicodeEncodeError for lone surrogates.

  py::Object target, projects;

  template <class V>
  void members(V& visit) {
    visit(target);
    visit(projects);
  }
};

/// What the server said to the projects: its own ones, which replace them.
class ProjectsResponse {
 public:
  void init(const py::Object& response);
  bool equals(const py::Object& other) const;
  py::Object iterate() const { return projects.iterate(); }

  py::Object decode(const py::Object& response);
  py::Object content(const py::Object& response);

  bool accepted = false;
  py::Object projects;

  template <class V>
  void members(V& visit) {
    visit(projects);
    visit(accepted);
  }
};

/// Puts `HttpRequest` and `HttpResponse` into `_Project.Collection`.
void expose_project_exchange(const py::Scope& collection);

}  // namespace heron
