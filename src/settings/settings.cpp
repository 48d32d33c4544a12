#include "settings/settings.h"

#include "files/paths.h"
#include "files/stored_document.h"
#include "foundation/constants.h"
#include "foundation/failure.h"
#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "foundation/naming.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kVersionName("version"), kCheck("check"), kExport("export"), kWorkspace("workspace"), kServer("server");

struct Filter {
  std::string_view method;
  py::Object (*apply)(const py::Text& text);
};

constexpr Filter kFilters[] = {
    {constants::kLatinFilter, naming::latin_filter},
    {constants::kEnRuFilter, naming::en_ru_filter},
    {constants::kSpaceFilter, naming::space_filter},
    {constants::kGhostFilter, naming::ghost_filter},
};

bool is_method(const py::Object& method, std::string_view name) { return to_str(method).equals(py::text(name)); }

}  // namespace

py::Object Settings::approved_name(const py::Object& text, bool none, const py::Object& method) {
  for (const Filter& filter : kFilters) {
    if (is_method(method, filter.method)) return filter.apply(py::Text(text));
  }
  return none ? py::Object::none() : to_str(text);
}

bool Settings::is_approved(const py::Object& text, const py::Object& method) {
  if (is_method(method, constants::kEmptyFilter)) return text.is_text() && text.truth();
  return to_str(text).equals(approved_name(text, true, method));
}

void Settings::init(const py::Object& environment) {
  static const py::Name kGetSettingsFile("get_settings_file"), kTarget("target"), kScope("scope");
  path = paths::plain(environment.call(kGetSettingsFile));
  write_error = py::Object();
  const py::Object document = read();
  const document::Ignored reading(path);
  check = py::made<CheckState>(document::map_at(document, kCheck));
  exporting = py::made<ExportSettings>(document::map_at(document, kExport));
  workspace = py::made<WorkspaceSettings>(document::map_at(document, kWorkspace));
  server = py::made<ServerSettings>(document::map_at(document, kServer));
  urls = py::made<SiteUrls>(environment.attr(kTarget), environment.attr(kScope));
  ignored = reading.keys();
}

py::Dict Settings::data() const {
  py::Dict data;
  data.set(kVersionName, py::to_python(kVersion));
  data.set(kCheck, check->data());
  data.set(kExport, exporting->data());
  data.set(kWorkspace, workspace->data());
  data.set(kServer, server->data());
  return data;
}

py::Object Settings::read() {
  const auto [document, failure] = read_stored_document(path, "Read Corrupted Settings: {}");
  read_error = failure;
  if (!document) return py::Dict();
  // A document that is a list or a number has nothing to ask for a version, which is an error for the caller.
  const py::Object version = py::get(document, kVersionName, py::to_python(0)), wanted = py::to_python(kVersion);
  if (!version.equals(wanted)) {
    logger::warning(format("Incompatible Settings Version - {}", {path}));
    // There is nothing wrong with a file that nobody has written yet.
    if (paths::exist(path)) {
      read_error = kept(PyExc_ValueError, format("settings of version {!r}, not {}", {version, wanted}));
    }
    return py::Dict();
  }
  if (!PyDict_Check(document.get())) {
    logger::warning(py::text("Incompatible Settings File"));
    read_error = kept(PyExc_TypeError, py::text("the document is not a mapping"));
    return py::Dict();
  }
  return document;
}

void Settings::write() {
  write_error = py::Object();
  try {
    replace_stored_document(path, data());
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    logger::caught(error);
    failure::note(error.value(), format("in the settings {}", {path}));
    failure::log(py::text("write"), error);
    write_error = kept(error);
  }
}

void expose_settings(const py::Scope& module) {
  const py::Scope settings =
      py::Class<Settings>(
          module, "_Settings",
          "The settings of a user: one document on disk, which the host's `environment` names, as it does the `target` "
          "and the `scope`.\n\n"
          "It is read once, here. A missing file, one that cannot be read, and one of another version leave the "
          "defaults, and a record in the log; a corrupted one is moved aside. `read_error` says why. A group of the "
          "wrong "
          "kind is left at its defaults, with a warning, and `ignored` names it. AttributeError for a document that is "
          "a list or a plain value. Nothing is written but by `write`.")
          .no_copies("it stands for a file")
          .attribute("version", py::to_python(Settings::kVersion))
          .init<&Settings::init>({"environment"})
          .accessor<&Settings::data>("data", "dict[str, Any]: The JSON form, a new dict.")
          .operation<&Settings::write>("write",
                                       "Replaces the document on disk by `data`.\n\n"
                                       "A failure is logged, `write_error` keeps it, and the file stays as it was.")
          .operation<&Settings::read>("_read", "The document on disk; empty where it cannot be used, which is logged.")
          .static_operation<&Settings::approved_name>(
              "approved_name", {"text", {"none", false}, {"method", "EN_RU"}},
              "What a filter of `Constants.Name.Filter` leaves of a text.\n\n"
              "With another `method`, `EMPTY` among them, the text itself, or None if `none` is true. TypeError for a "
              "filter of what is no text.")
          .static_operation<&Settings::is_approved>(
              "is_approved", {"text", {"method", "EN_RU"}},
              "Whether a filter of `Constants.Name.Filter` leaves a name as it is.\n\n"
              "With `EMPTY`, whether it is a text that is not empty. An unknown filter approves nothing. TypeError for "
              "a filter of what is no text.")
          .field<&Settings::check>("check", "_Settings.Check.State: What is set up for checks.")
          .field<&Settings::exporting>("export", "_Settings.Export: Where exported files went last.")
          .field<&Settings::workspace>("workspace", "_Settings.Workspace: What the user works on.")
          .field<&Settings::server>("server", "_Settings.Server: The server that a team shares.")
          .field<&Settings::urls>("urls", "_Settings.URLs: The addresses of the public web site.")
          .readonly<&Settings::read_error>(
              "read_error", "Exception | None: Why the document could not be used; None for a missing file, too.")
          .readonly<&Settings::write_error>("write_error", "Exception | None: Why the last `write` failed.")
          .readonly<&Settings::ignored>(
              "ignored", "tuple[str, ...]: The keys of the values in the document that could not be used.")
          .readonly<&Settings::path>("_path", "str: Where the document is.")
          .done();

  const py::Scope check = expose_check(settings);
  expose_check_directory(check);
  expose_check_presets(check);
  expose_check_state(check);
  expose_export_settings(settings);
  expose_workspace_settings(settings);
  expose_server_settings(settings);
  expose_urls(settings);
}

}  // namespace heron
