#pragma once

#include "settings/check_state.h"
#include "settings/export_settings.h"
#include "settings/server_settings.h"
#include "settings/site_urls.h"
#include "settings/workspace_settings.h"

namespace heron {

/// The settings of a user: one document on disk. It is read once, and written only when an owner says so.
class Settings {
 public:
  static constexpr int kVersion = 4;  ///< Of the document's format. There is no way from one version to another.

  /// What a filter, one of `Constants.Name.Filter`, leaves of a name. One that does not filter leaves all, or none.
  static py::Object approved_name(const py::Object& text, bool none, const py::Object& method);
  static bool is_approved(const py::Object& text, const py::Object& method);

  void init(const py::Object& environment);

  py::Dict data() const;  ///< The JSON form.
  py::Object read();      ///< The document in the file; empty where it cannot be used, and `read_error` says why.
  void write();           ///< A failure is kept and logged, and the file stays as it was.

  py::Object path = py::Object::none();
  py::Object ignored;                  ///< Keys of the values in the document that could not be used.
  py::Object read_error, write_error;  ///< Of the last of each; none where it went well.
  py::Ref<CheckState> check = py::Ref<CheckState>::make();
  py::Ref<ExportSettings> exporting = py::Ref<ExportSettings>::make();
  py::Ref<WorkspaceSettings> workspace = py::Ref<WorkspaceSettings>::make();
  py::Ref<ServerSettings> server = py::Ref<ServerSettings>::make();
  py::Ref<SiteUrls> urls = py::Ref<SiteUrls>::make();

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&path, &ignored, &read_error, &write_error}) visit(*field);
    visit(check);
    visit(exporting);
    visit(workspace);
    visit(server);
    visit(urls);
  }
};

/// Puts `_Settings` into the module, with all that nests in it.
void expose_settings(const py::Scope& module);

}  // namespace heron
