#pragma once

#include <string>
#include <string_view>

#include "runtime/convert.h"

namespace heron {

/// The questions about a scene that the matching asks, put to whatever answers them: the host, a snapshot of a part of
/// its scene, or what else has operations of these names. What answers in a wrong kind gets a TypeError that names the
/// operation.
class SceneQueries : public py::Object {
 public:
  SceneQueries() = default;
  explicit SceneQueries(py::Object answers) : py::Object(std::move(answers)) {}

  bool exists(const py::Object& path) const;
  py::Object type(const py::Object& path) const;      ///< Mostly a text; anything else fits no rule.
  py::Object parent(const py::Object& path) const;    ///< What is false stands for none, at the top of the scene.
  py::Object children(const py::Object& path) const;  ///< The list as it was given; no object for a leaf.
  /// TypeError for one of the children that is no path.
  [[noreturn]] static void refuse_child(const py::Object& child);
  /// Descriptions of those objects at these paths that exist. A snapshot gives them; a host does not.
  py::Object locations(const py::Object& paths) const;

 protected:
  /// TypeError: "`operation` gave int, `wanted` is expected".
  [[noreturn]] static void refuse(const py::Name& operation, const py::Object& given, std::string_view wanted);
  /// What an operation gave, which has to be a list or whatever else can be walked over, and no text.
  static py::Object list(const py::Name& operation, py::Object given, std::string_view wanted);
};

}  // namespace heron

template <>
struct heron::py::From<heron::SceneQueries> {
  static bool fits(PyObject*) { return true; }
  static heron::SceneQueries from(PyObject* object) { return heron::SceneQueries(Object::borrow(object)); }
  static std::string wanted() { return "anything"; }
};
