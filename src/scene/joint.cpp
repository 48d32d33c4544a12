#include "scene/joint.h"

#include "foundation/constants.h"
#include "scene/embedded_data.h"

namespace heron {

void DataJoint::init(const py::Object& stamp_, const py::Object& name_, const py::Object& path_,
                     const py::Object& type_, const py::Object& children_, const py::Object& icon_,
                     const py::Object& color_) {
  stamp = to_str(stamp_);
  name = LazyText::of(name_);
  path = LazyText::of(path_);
  type = to_str(type_);
  icon = icon_;
  color = color_;
  children = children_.truth() ? children_ : py::Object();
}

bool DataJoint::is_ghost() const {
  static const auto* ghost = new py::Object(py::text(constants::kGhost));
  return to_str(type).equals(*ghost);
}

bool DataJoint::equals(const py::Object& other) const {
  if (!py::is_instance<DataJoint>(other.get())) return false;
  const DataJoint& joint = py::value_of<DataJoint>(other.get());
  return stamp.equals(joint.stamp) && name.characters().equals(joint.name.characters()) &&
         path.characters().equals(joint.path.characters()) && type.equals(joint.type);
}

Py_hash_t DataJoint::hash() const { return py::tuple({stamp, name.characters(), path.characters(), type}).hash(); }

py::Object DataJoint::get_children() const {
  if (!children) const_cast<DataJoint*>(this)->children = py::List();
  return children;
}

py::Dict DataJoint::data() const { return EmbeddedWriter().write(*this); }

py::Object joint_name(const py::Object& joint) {
  static const py::Name kName("name");
  return DataJoint::is_exactly(joint) ? py::value_of<DataJoint>(joint.get()).name.characters() : joint.attr(kName);
}

py::Object joint_children(const py::Object& joint) {
  static const py::Name kChildren("children");
  return DataJoint::is_exactly(joint) ? py::value_of<DataJoint>(joint.get()).children : joint.attr(kChildren);
}

void expose_joint(const py::Scope& buffer) {
  py::Class<DataJoint>(
      buffer, "DataJoint",
      "One item of a scanned hierarchy.\n\n"
      "Args:\n"
      "    stamp: The matched rule's.\n"
      "    name, path: Of the object.\n"
      "    type: The matched rule's name; \"ghost\" for a joint that stands for no object but holds a group of roots.\n"
      "    children: A list of joints.\n"
      "    icon, color: For display.\n\n"
      "Equal joints have the same stamp, name, path and type.")
      .copies()
      .init<&DataJoint::init>({{"stamp", ""},
                               {"name", ""},
                               {"path", "|"},
                               {"type", ""},
                               {"children", nullptr},
                               {"icon", ""},
                               {"color", "none"}})
      .equals<&DataJoint::equals>()
      .hash<&DataJoint::hash>()
      .operation<&DataJoint::is_ghost>("is_ghost",
                                       "Whether the joint stands for no object, but holds a group of roots.")
      .accessor<&DataJoint::data>("data",
                                  "dict[str, Any]: The joint as it is embedded in the scene, a new map.\n\n"
                                  "RecursionError for a joint that stands below itself.")
      .field<&DataJoint::stamp>("stamp", "str: Stamp of the matched rule.")
      .accessor<&DataJoint::get_name, &DataJoint::set_name>("name", "str: Name of the object.")
      .accessor<&DataJoint::get_path, &DataJoint::set_path>("path", "str: Path of the object.")
      .field<&DataJoint::type>("type", "str: Name of the matched rule.")
      .field<&DataJoint::icon>("icon", "str: Icon for display.")
      .field<&DataJoint::color>("color", "str: Colour for display, or \"none\".")
      .accessor<&DataJoint::get_children, &DataJoint::set_children>(
          "children", "list[Scene._Buffer.DataJoint]: The joints below, as a list.")
      .done();
}

}  // namespace heron
