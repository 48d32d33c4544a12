#include "scene/joint.h"

#include "foundation/constants.h"
#include "foundation/text.h"

namespace heron {
namespace {

/// The keys of a joint in the data embedded in the scene, in their order.
namespace keys {
const py::Name kStamp("stamp"), kType("type"), kName("name"), kPath("path"), kChildren("children"), kIcon("icon"),
    kColor("color");
}

}  // namespace

void DataJoint::init(const py::Object& stamp_, const py::Object& name_, const py::Object& path_,
                     const py::Object& type_, const py::Object& children_, const py::Object& icon_,
                     const py::Object& color_) {
  stamp = to_str(stamp_);
  name = to_str(name_);
  path = to_str(path_);
  type = to_str(type_);
  icon = icon_;
  color = color_;
  children = children_.truth() ? children_ : py::List();
}

bool DataJoint::is_ghost() const {
  static const auto* ghost = new py::Object(py::text(constants::kGhost));
  return to_str(type).equals(*ghost);
}

bool DataJoint::equals(const py::Object& other) const {
  if (!py::is_instance<DataJoint>(other.get())) return false;
  const DataJoint& joint = py::value_of<DataJoint>(other.get());
  return stamp.equals(joint.stamp) && name.equals(joint.name) && path.equals(joint.path) && type.equals(joint.type);
}

Py_hash_t DataJoint::hash() const { return py::tuple({stamp, name, path, type}).hash(); }

py::Dict DataJoint::data() const {
  const py::Depth depth(" while a joint is written");
  static const py::Name kData("data");
  const py::List below;
  for (const py::Object& child : py::collect(children)) below.append(child.attr(kData));
  py::Dict data;
  data.set(keys::kStamp, stamp);
  data.set(keys::kType, type);
  data.set(keys::kName, name);
  data.set(keys::kPath, path);
  data.set(keys::kChildren, below);
  data.set(keys::kIcon, icon);
  data.set(keys::kColor, color);
  return data;
}

void expose_joint(const py::Scope& buffer) {
  py::Class<DataJoint>(
      buffer, "DataJoint",
      "One item of a scanned hierarchy.\n\n"
      "stamp: the matched rule's. name, path: of the object. type: the matched rule's name; \"ghost\"\n"
      "for a joint that stands for no object but holds a group of roots. children: a list of joints.\n"
      "icon, color: for display. Equal joints have the same stamp, name, path and type.")
      .init<&DataJoint::init>({{"stamp", ""},
                               {"name", ""},
                               {"path", "|"},
                               {"type", ""},
                               {"children", nullptr},
                               {"icon", ""},
                               {"color", "none"}})
      .equals<&DataJoint::equals>()
      .hash<&DataJoint::hash>()
      .operation<&DataJoint::is_ghost>("is_ghost", "Does the joint stand for no object, but hold a group of roots?")
      .accessor<&DataJoint::data>("data",
                                  "The joint as it is embedded in the scene, a new map.\n\n"
                                  "RecursionError for a tree that is too deep.")
      .field<&DataJoint::stamp>("stamp", "Stamp of the matched rule.")
      .field<&DataJoint::name>("name", "Name of the object.")
      .field<&DataJoint::path>("path", "Path of the object.")
      .field<&DataJoint::type>("type", "Name of the matched rule.")
      .field<&DataJoint::icon>("icon", "Icon for display.")
      .field<&DataJoint::color>("color", "Colour for display, or \"none\".")
      .field<&DataJoint::children>("children", "The joints below, as a list.")
      .done();
}

}  // namespace heron
