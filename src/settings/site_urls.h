#pragma once

#include "foundation/text.h"

namespace heron {

/// The paths of the pages of the public web site.
class SitePaths {
 public:
  /// The first two numbers of a version of the host; what is less stays as it is.
  static py::Object format_scope(const py::Text& scope);

  void init(const py::Object& host_target, const py::Object& host_scope);

  py::Object latest() const;
  py::Object documentation() const;
  py::Object feedback() const;

  py::Object target = py::Object::none();
  py::Object scope = py::Object::none();

  template <class V>
  void members(V& visit) {
    visit(target);
    visit(scope);
  }
};

/// The addresses of the pages of the public web site. Which host it is, the build decides.
class SiteUrls {
 public:
  void init(const py::Object& host_target, const py::Object& host_scope);

  py::Ref<SitePaths> path() const;
  py::Object home() const;
  py::Object latest() const;
  py::Object documentation() const;
  py::Object documentation_editor() const;
  py::Object feedback() const;

  py::Object target = py::Object::none();
  py::Object scope = py::Object::none();
  py::Object host = to_str(py::text(HERON_WEB_HOST));
  py::Object port = py::to_python(kPort);

  template <class V>
  void members(V& visit) {
    visit(target);
    visit(scope);
    visit(host);
    visit(port);
  }

 private:
  static constexpr int kPort = 443;
};

/// Puts `URLs` into `_Settings`, with its `Path`.
void expose_urls(const py::Scope& settings);

}  // namespace heron
