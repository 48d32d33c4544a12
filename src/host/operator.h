#pragma once

#include "host/type_mapping.h"
#include "runtime/class.h"

namespace heron {

/// The questions about a scene that the matching asks. Abstract: what a subclass leaves out raises when it is called.
class QueryOp {
 public:
  void object_exists(const py::Object& path) const;
  void get_type(const py::Object& path) const;
  void get_parent(const py::Object& path) const;
  void get_children(const py::Object& path) const;
};

/// The host as the engine sees it. Each host integration provides one concrete subclass, in Python.
class Operator : public QueryOp {
 public:
  void init();

  py::Object map_type(const py::Object& name) const { return mapping->get(name); }
  py::Object type_mapping() const { return mapping; }

  // Abstract, like the queries.
  void get_selection() const;
  void get_selection_roots() const;
  void select(const py::Object& paths) const;
  static void selection_manager();
  void register_scene_opened_callback(const py::Object& function) const;
  void register_shutdown_callback(const py::Object& function) const;
  void delete_callbacks() const;
  void export_scene(const py::Object& roots, const py::Object& file_path, const py::Object& type,
                    const py::Object& args, const py::Object& automatic_uv, const py::Object& triangulate,
                    const py::Object& reset_xforms) const;
  void get_current_file() const;
  void directory_dialog(const py::Object& starting, const py::Object& caption) const;
  void file_dialog(const py::Object& starting, const py::Object& caption, const py::Object& file_filter) const;
  void query_filedata() const;
  void embed_filedata(const py::Object& data) const;
  void erase_filedata() const;
  void postscript_scan_append(const py::Object& joint) const;
  void postscript_scan_remove(const py::Object& joint) const;

  py::Ref<TypeMapping> mapping = py::Ref<TypeMapping>::make();

  template <class V>
  void members(V& visit) {
    visit(mapping);
  }
};

void expose_operator(const py::Scope& scene);

}  // namespace heron
