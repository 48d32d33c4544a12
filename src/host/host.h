#pragma once

#include <functional>

#include "host/scene_queries.h"
#include "runtime/containers.h"

namespace heron {

/// The application in which the engine works: the one door to its operator, which the host integration provides. Each
/// operation asks the one of its name; what the operator raises passes.
///
/// The operator itself, as Python sees it, is described in `host/operator.h`.
class Host : public SceneQueries {
 public:
  Host() = default;
  explicit Host(py::Object op) : SceneQueries(std::move(op)) {}

  py::Text name(const py::Object& path) const;  ///< The short name of an object.
  py::Object type_mapping() const;
  py::Object current_file() const;  ///< The path of the open scene; empty or None if it was never saved.

  // The selection.
  py::List selection() const;        ///< The paths of what is selected: a new list.
  py::List selection_roots() const;  ///< The paths of the top-most objects above it: a new list.
  void select(const py::List& paths) const;
  /// Runs work that may change the selection, which is what it was before afterwards.
  void keep_selection(const std::function<void()>& work) const;

  // Events.
  void on_scene_opened(const py::Object& function) const;
  void delete_callbacks() const;

  // What the scene file holds for the engine.
  py::Iterable query_filedata() const;
  void embed_filedata(const py::List& data) const;
  void erase_filedata() const;

  // What a host hears of joints.
  void scan_appended(const py::Object& joint) const;
  void scan_removed(const py::Object& joint) const;

  // Files.
  py::Object ask_directory(const py::Object& starting) const;  ///< A false value if the user cancels.
  void export_file(const py::Object& roots, const py::Object& file, const py::Object& type, const py::Object& options,
                   const py::Dict& flags) const;

 private:
  py::List paths(const py::Name& operation) const;
};

}  // namespace heron

template <>
struct heron::py::From<heron::Host> {
  static bool fits(PyObject*) { return true; }
  static heron::Host from(PyObject* object) { return heron::Host(Object::borrow(object)); }
  static std::string wanted() { return "anything"; }
};
