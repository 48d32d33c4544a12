#include "settings/site_urls.h"

namespace heron {

py::Object SitePaths::format_scope(const py::Text& scope) {
  static const py::Name kSplit("split");
  const py::List parts(scope.call(kSplit, py::text(".")));
  return parts.size() < 2 ? to_str(parts.at(0)) : format("{}.{}", {parts.at(0), parts.at(1)});
}

void SitePaths::init(const py::Object& host_target, const py::Object& host_scope) {
  target = host_target;
  scope = host_scope;
}

py::Object SitePaths::latest() const {
  return format("/validator/downloads/{}/{}/latest/", {target, format_scope(py::Text(scope))});
}

py::Object SitePaths::documentation() const { return to_str(py::text("/validator")); }
py::Object SitePaths::feedback() const { return to_str(py::text("/feedback")); }

void SiteUrls::init(const py::Object& host_target, const py::Object& host_scope) {
  target = host_target;
  scope = host_scope;
}

py::Ref<SitePaths> SiteUrls::path() const {
  auto path = py::Ref<SitePaths>::make();
  path->init(target, scope);
  return path;
}

py::Object SiteUrls::home() const { return format("https://{}", {host}); }
py::Object SiteUrls::latest() const { return format("{}{}", {home(), path()->latest()}); }
py::Object SiteUrls::documentation() const { return format("{}{}", {home(), path()->documentation()}); }
py::Object SiteUrls::documentation_editor() const { return format("{}/#project-editor", {documentation()}); }
py::Object SiteUrls::feedback() const { return format("{}{}", {home(), path()->feedback()}); }

void expose_urls(const py::Scope& settings) {
  const py::Scope scope =
      py::Class<SiteUrls>(settings, "URLs",
                          "The addresses of the pages of the public web site.\n\n"
                          "`target` is the host application, `scope` its version.")
          .copies()
          .init<&SiteUrls::init>({"target", "scope"})
          .readonly<&SiteUrls::host>("host", "str: The host of the site, which the build decides.")
          .readonly<&SiteUrls::port>("port", "int: Its port.")
          .accessor<&SiteUrls::path>("path", "_Settings.URLs.Path: The paths of the pages, new each time.")
          .accessor<&SiteUrls::home>("home", "str: The site itself.")
          .accessor<&SiteUrls::latest>("latest",
                                       "str: Where the latest version is told. TypeError for a scope that is no text.")
          .accessor<&SiteUrls::documentation>("documentation", "str: The documentation.")
          .accessor<&SiteUrls::documentation_editor>("documentation_editor",
                                                     "str: The documentation of the project editor.")
          .accessor<&SiteUrls::feedback>("feedback", "str: Where feedback goes.")
          .readonly<&SiteUrls::target>("_target", "str: The host application.")
          .readonly<&SiteUrls::scope>("_scope", "str: Its version.")
          .readonly<&SiteUrls::host>("_host", "str: The stored `host`.")
          .readonly<&SiteUrls::port>("_port", "int: The stored `port`.")
          .done();

  py::Class<SitePaths>(scope, "Path",
                       "The paths of the pages of the public web site.\n\n"
                       "`target` is the host application, `scope` its version.")
      .copies()
      .init<&SitePaths::init>({"target", "scope"})
      .accessor<&SitePaths::latest>("latest",
                                    "str: Where the latest version is told. TypeError for a scope that is no text.")
      .accessor<&SitePaths::documentation>("documentation", "str: The documentation.")
      .accessor<&SitePaths::feedback>("feedback", "str: Where feedback goes.")
      .static_operation<&SitePaths::format_scope>("format_scope", {"scope"},
                                                  "The first two numbers of a version, or all of it if it has fewer.")
      .readonly<&SitePaths::target>("_target", "str: The host application.")
      .readonly<&SitePaths::scope>("_scope", "str: Its version.")
      .done();
}

}  // namespace heron
