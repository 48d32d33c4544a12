#include "scene/joint.h"

#include "foundation/constants.h"
#include "foundation/descent.h"

namespace heron {
namespace {

const py::Name kData("data");

/// The keys of a joint in the data embedded in the scene, in their order.
namespace keys {
const py::Name kStamp("stamp"), kType("type"), kName("name"), kPath("path"), kChildren("children"), kIcon("icon"),
    kColor("color");
}

py::Dict make_form() {
  py::Dict form;
  for (const py::Name* key :
       {&keys::kStamp, &keys::kType, &keys::kName, &keys::kPath, &keys::kChildren, &keys::kIcon, &keys::kColor}) {
    form.set(*key, py::Object());
  }
  return form;
}

/// A subclass may tell otherwise what it holds.
bool is_ours(const py::Object& joint) { return Py_TYPE(joint.or_none()) == py::TypeOf<DataJoint>::type; }
const DataJoint& value_of(const py::Object& joint) { return py::value_of<DataJoint>(joint.get()); }

std::vector<py::Object> children_of(const DataJoint& joint) {
  return joint.children ? py::collect(joint.children) : std::vector<py::Object>();
}

bool is_leaf(const DataJoint& joint) {
  return !joint.children || (PyList_CheckExact(joint.children.get()) && PyList_Size(joint.children.get()) == 0);
}

/// A joint as it is embedded, given its children as they are. The map is a copy of one with all keys: a third of the
/// time that it takes to let a map grow.
py::Dict embedded(const DataJoint& joint, const py::List& children) {
  static const py::Dict* const kForm = new py::Dict(make_form());
  const py::Dict data = kForm->copy();
  data.set(keys::kStamp, joint.stamp);
  data.set(keys::kType, joint.type);
  data.set(keys::kName, joint.name.characters());
  data.set(keys::kPath, joint.path.characters());
  data.set(keys::kChildren, children);
  data.set(keys::kIcon, joint.icon);
  data.set(keys::kColor, joint.color);
  return data;
}

}  // namespace

void DataJoint::init(const py::Object& stamp_, const py::Object& name_, const py::Object& path_,
                     const py::Object& type_, const py::Object& children_, const py::Object& icon_,
                     const py::Object& color_) {
  stamp = to_str(stamp_);
  name = LateText::of(name_);
  path = LateText::of(path_);
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

py::Object joint_name(const py::Object& joint) {
  static const py::Name kName("name");
  return is_ours(joint) ? value_of(joint).name.characters() : joint.attr(kName);
}

py::Object joint_children(const py::Object& joint) {
  static const py::Name kChildren("children");
  return is_ours(joint) ? value_of(joint).children : joint.attr(kChildren);
}

py::Object joint_data(const py::Object& joint) { return is_ours(joint) ? value_of(joint).data() : joint.attr(kData); }

// A hierarchy may be deeper than the stack: the walk keeps one of its own.
py::Dict DataJoint::data() const {
  if (is_leaf(*this)) return embedded(*this, {});
  struct Level {
    py::Object joint;
    std::vector<py::Object> children;
    std::size_t next = 0;
    py::List below;
  };
  std::vector<Level> levels;
  Descent descent;
  const auto enter = [&](const py::Object& joint) {
    if (descent.returns(levels.size() + 1, joint.get())) {
      py::raise(PyExc_RecursionError, "a joint stands below itself");
    }
    levels.push_back({joint, children_of(value_of(joint)), 0, {}});
  };
  enter(py::object_of(*this));
  while (true) {
    Level& level = levels.back();
    if (level.next < level.children.size()) {
      const py::Object child = level.children[level.next++];
      if (!is_ours(child)) {
        level.below.append(child.attr(kData));
      } else if (is_leaf(value_of(child))) {
        level.below.append(embedded(value_of(child), {}));
      } else {
        enter(child);
      }
      continue;
    }
    py::Dict data = embedded(value_of(level.joint), level.below);
    levels.pop_back();
    if (levels.empty()) return data;
    levels.back().below.append(data);
  }
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
                                  "RecursionError for a joint that stands below itself.")
      .field<&DataJoint::stamp>("stamp", "Stamp of the matched rule.")
      .accessor<&DataJoint::get_name, &DataJoint::set_name>("name", "Name of the object.")
      .accessor<&DataJoint::get_path, &DataJoint::set_path>("path", "Path of the object.")
      .field<&DataJoint::type>("type", "Name of the matched rule.")
      .field<&DataJoint::icon>("icon", "Icon for display.")
      .field<&DataJoint::color>("color", "Colour for display, or \"none\".")
      .accessor<&DataJoint::get_children, &DataJoint::set_children>("children", "The joints below, as a list.")
      .done();
}

}  // namespace heron
