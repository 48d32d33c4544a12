#include "host/host.h"

#include "files/paths.h"
#include "host/selection_scope.h"

namespace heron {
namespace {

const py::Name kNameFromPath("name_from_path"), kTypeMapping("type_mapping"), kGetCurrentFile("get_current_file");
const py::Name kGetSelection("get_selection"), kGetSelectionRoots("get_selection_roots"), kSelect("select");
const py::Name kSelectionManager("selection_manager"), kDeleteCallbacks("delete_callbacks");
const py::Name kRegisterSceneOpened("register_scene_opened_callback");
const py::Name kQueryFiledata("query_filedata"), kEmbedFiledata("embed_filedata"), kEraseFiledata("erase_filedata");
const py::Name kPostscriptScanAppend("postscript_scan_append"), kPostscriptScanRemove("postscript_scan_remove");
const py::Name kDirectoryDialog("directory_dialog"), kExport("export");

}  // namespace

py::Text Host::name(const py::Object& path) const {
  const py::Object name = call(kNameFromPath, path);
  if (!name.is_text()) refuse(kNameFromPath, name, "a text");
  return py::Text(name);
}

py::Object Host::type_mapping() const { return attr(kTypeMapping); }

py::Object Host::current_file() const { return paths::plain(call(kGetCurrentFile)); }

py::List Host::selection() const { return paths(kGetSelection); }

py::List Host::selection_roots() const { return paths(kGetSelectionRoots); }

/// What is false stands for no path at all.
py::List Host::paths(const py::Name& operation) const {
  const py::Object given = call(operation);
  py::List paths;
  if (given.truth()) paths.extend(list(operation, given, "a list of paths"));
  return paths;
}

void Host::select(const py::List& paths) const { attr(kSelect).apply(py::tuple(paths.items())); }

void Host::keep_selection(const std::function<void()>& work) const {
  run_in_scope(call(kSelectionManager), kSelectionManager.text(), work);
}

void Host::on_scene_opened(const py::Object& function) const { call(kRegisterSceneOpened, function); }

void Host::delete_callbacks() const { call(kDeleteCallbacks); }

py::Iterable Host::query_filedata() const { return py::Iterable(list(kQueryFiledata, call(kQueryFiledata), "a list")); }

void Host::embed_filedata(const py::List& data) const { call(kEmbedFiledata, data); }

void Host::erase_filedata() const { call(kEraseFiledata); }

void Host::scan_appended(const py::Object& joint) const { call(kPostscriptScanAppend, joint); }

void Host::scan_removed(const py::Object& joint) const { call(kPostscriptScanRemove, joint); }

py::Object Host::ask_directory(const py::Object& starting) const {
  static const py::Name kStarting("starting"), kCaption("caption");
  py::Dict named;
  named.set(kStarting, starting);
  named.set(kCaption, py::text("Set Directory"));
  return attr(kDirectoryDialog).apply(py::tuple({}), named);
}

void Host::export_file(const py::Object& roots, const py::Object& file, const py::Object& type,
                       const py::Object& options, const py::Dict& flags) const {
  attr(kExport).apply(py::tuple({roots, file, type, options}), flags);
}

}  // namespace heron
