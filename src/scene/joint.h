#pragma once

#include "runtime/class.h"
#include "scene/lazy_text.h"

namespace heron {

/// One item of a scanned hierarchy: a scene object and the rule that it matched.
class DataJoint {
 public:
  void init(const py::Object& stamp, const py::Object& name, const py::Object& path, const py::Object& type,
            const py::Object& children, const py::Object& icon, const py::Object& color);

  bool is_ghost() const;
  bool equals(const py::Object& other) const;
  Py_hash_t hash() const;
  py::Dict data() const;

  /// Is this one of ours? A subclass may tell otherwise what it holds.
  static bool is_exactly(const py::Object& joint) { return Py_TYPE(joint.or_none()) == py::TypeOf<DataJoint>::type; }

  py::Object get_name() const { return name.get(); }
  void set_name(const py::Object& value) { name = LazyText::exactly(value); }
  py::Object get_path() const { return path.get(); }
  void set_path(const py::Object& value) { path = LazyText::exactly(value); }
  py::Object get_children() const;
  void set_children(const py::Object& value) { children = value; }

  py::Object stamp, type, icon, color;
  LazyText name, path;
  py::Object children;  ///< No list stands here until somebody asks for it: most joints have nothing below.

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&stamp, &type, &icon, &color, &children}) visit(*field);
    name.members(visit);
    path.members(visit);
  }
};

// What anything that serves as a joint says of itself. Ours are asked without making the texts and lists that only
// Python looks at.
py::Object joint_name(const py::Object& joint);
py::Object joint_children(const py::Object& joint);  ///< No object at all may stand for an empty list.

void expose_joint(const py::Scope& buffer);

}  // namespace heron
