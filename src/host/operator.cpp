#include "host/operator.h"

#include "foundation/not_implemented.h"
#include "matching/path_text.h"

namespace heron {
namespace {

using py::Object;

py::Object short_name(const py::Text& path) {
  const py::Utf8 bytes(path);
  return py::text(path_text::short_name(bytes));
}

}  // namespace

void QueryOp::object_exists(const Object&) const { not_implemented("object_exists"); }
void QueryOp::get_type(const Object&) const { not_implemented("get_type"); }
void QueryOp::get_parent(const Object&) const { not_implemented("get_parent"); }
void QueryOp::get_children(const Object&) const { not_implemented("get_children"); }

void Operator::init() {
  static const py::Name kTypeMapping("TYPE_MAPPING");
  auto fresh = py::Ref<TypeMapping>::make();
  fresh->init(py::object_of(*this).attr(kTypeMapping));
  mapping = std::move(fresh);
}

void Operator::get_selection() const { not_implemented("get_selection"); }
void Operator::get_selection_roots() const { not_implemented("get_selection_roots"); }
void Operator::select(const Object&) const { not_implemented("select"); }
void Operator::selection_manager() { not_implemented("selection_manager"); }
void Operator::register_scene_opened_callback(const Object&) const {
  not_implemented("register_scene_opened_callback");
}
void Operator::register_shutdown_callback(const Object&) const { not_implemented("register_shutdown_callback"); }
void Operator::delete_callbacks() const { not_implemented("delete_callbacks"); }
void Operator::export_scene(const Object&, const Object&, const Object&, const Object&, const Object&, const Object&,
                            const Object&) const {
  not_implemented("export");
}
void Operator::get_current_file() const { not_implemented("get_current_file"); }
void Operator::directory_dialog(const Object&, const Object&) const { not_implemented("directory_dialog"); }
void Operator::file_dialog(const Object&, const Object&, const Object&) const { not_implemented("file_dialog"); }
void Operator::query_filedata() const { not_implemented("query_filedata"); }
void Operator::embed_filedata(const Object&) const { not_implemented("embed_filedata"); }
void Operator::erase_filedata() const { not_implemented("erase_filedata"); }
void Operator::postscript_scan_append(const Object&) const { not_implemented("postscript_scan_append"); }
void Operator::postscript_scan_remove(const Object&) const { not_implemented("postscript_scan_remove"); }

void expose_operator(const py::Scope& scene) {
  using py::Parameter;
  py::Class<QueryOp>(scene, "_QueryOp", "An abstract class to get hierarchy info from the scene.")
      .no_copies("it stands for a scene")
      .operation<&QueryOp::object_exists>("object_exists", {"path"}, "Whether an object with this path exists now.")
      .operation<&QueryOp::get_type>(
          "get_type", {"path"},
          "The object's type, one of the texts of `Constants.Scene.Type`; None for one of no such type.")
      .operation<&QueryOp::get_parent>("get_parent", {"path"},
                                       "The parent's path; None or an empty text at the top of the scene.")
      .operation<&QueryOp::get_children>("get_children", {"path"},
                                         "The paths of the direct children in the order in which they are to be "
                                         "matched; None or an empty list for a leaf.")
      .done();

  py::Class<Operator, QueryOp>(
      scene, "Operator",
      "An abstract class to communicate with the scene.\n\n"
      "A host integration derives its own class from it, sets `TYPE_MAPPING`, and implements every operation whose "
      "text does not say more; each raises NotImplementedError here. A path is a text that is unique for each object; "
      "\"|\" and \"/\" separate its pieces. All operations are called on the thread that owns the host's scene. The "
      "constructor of a derived class calls this one's.")
      .no_copies("it stands for the host application")
      .init<&Operator::init>({})
      .attribute("TYPE_MAPPING", py::Dict())
      .readonly<&Operator::mapping>("_type_mapping", "TypeMapping: What the host's types are called here.")
      .accessor<&Operator::type_mapping>("type_mapping",
                                         "TypeMapping: What the host's types are called here, made of `TYPE_MAPPING`.")
      .operation<&Operator::map_type>("map_type", {"name"},
                                      "The system's type for a host type, or None. Concrete: for `get_type`.")
      .operation<&Operator::object_exists>("object_exists", {"path"}, "Whether an object with this path exists now.")
      .operation<&Operator::get_type>("get_type", {"path"}, "The object's type; see `map_type`.")
      .operation<&Operator::get_parent>("get_parent", {"path"},
                                        "The parent's path; None or an empty text at the top of the scene.")
      .operation<&Operator::get_children>(
          "get_children", {"path"}, "The paths of the direct children, in order; None or an empty list for a leaf.")
      .operation<&Operator::get_selection>("get_selection", "The paths of the selected objects, as a list.")
      .operation<&Operator::get_selection_roots>(
          "get_selection_roots", "The top-most ancestors of the selected objects, each once, as a list of paths.")
      .operation<&Operator::select>("select", {Parameter::rest("paths")},
                                    "Selects exactly these objects; without paths, none.")
      .static_operation<&Operator::selection_manager>(
          "selection_manager", {},
          "A new scope object, with enter and exit, after which the selection is what it was before.")
      .operation<&Operator::register_scene_opened_callback>("register_scene_opened_callback", {"function"},
                                                            "Has the host call `function` whenever a scene was opened.")
      .operation<&Operator::register_shutdown_callback>("register_shutdown_callback", {"function"},
                                                        "Has the host call `function` when it closes.")
      .operation<&Operator::delete_callbacks>("delete_callbacks", "Removes everything registered above.")
      .operation<&Operator::export_scene>("export",
                                          {"roots",
                                           "file_path",
                                           "type",
                                           "args",
                                           {"automatic_uv", false},
                                           {"triangulate", false},
                                           {"reset_xforms", false}},
                                          "Writes the hierarchies below `roots` into one file; raises if it cannot.")
      .operation<&Operator::get_current_file>("get_current_file",
                                              "The path of the open scene file; empty if it was never saved.")
      .operation<&Operator::directory_dialog>("directory_dialog", {{"starting", "~"}, {"caption", ""}},
                                              "Lets the user choose a directory; None or an empty text on cancel.")
      .operation<&Operator::file_dialog>("file_dialog", {{"starting", "~"}, {"caption", ""}, {"file_filter", ""}},
                                         "Lets the user choose a file; None or an empty text on cancel.")
      .operation<&Operator::query_filedata>(
          "query_filedata", "The list stored by the last `embed_filedata`; an empty list if the scene has none.")
      .operation<&Operator::embed_filedata>("embed_filedata", {"data"},
                                            "Stores a list of plain maps in the open scene.")
      .operation<&Operator::erase_filedata>("erase_filedata", "Removes the stored data, if there is any.")
      .operation<&Operator::postscript_scan_append>("postscript_scan_append", {"joint"},
                                                    "Called for each joint that a scan built, children first.")
      .operation<&Operator::postscript_scan_remove>("postscript_scan_remove", {"joint"},
                                                    "Called for each joint that leaves the buffer when it is cleared.")
      .done();
  py::function<&short_name>(py::scope_of<Operator>(), "name_from_path", {"path"},
                            "The short name of an object: what stands behind the last \"|\" or \"/\" of its path.");
}

}  // namespace heron
