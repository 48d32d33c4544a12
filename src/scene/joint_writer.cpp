#include "scene/joint_writer.h"

#include "foundation/cycle_detector.h"

namespace heron {
namespace {

const py::Name kJoint("joint"), kChecked("checked"), kOpened("opened"), kData("data");
const py::Name kStamp("stamp"), kType("type"), kName("name"), kPath("path"), kChildren("children"), kIcon("icon"),
    kColor("color");

/// Joints that do not come of a scan may have texts of their own each: remembering those would gain nothing.
constexpr std::size_t kMostFaces = 16;

/// The system's own text as the runtime's: whoever keeps the maps knows that one.
py::Object plain(const py::Object& text) {
  const bool own = text && Py_TYPE(text.get()) == reinterpret_cast<PyTypeObject*>(str_class());
  return own ? py::Object::steal(PyUnicode_FromObject(text.get())) : text;
}

py::Dict make_bucket_form() {
  py::Dict form;
  form.set(kJoint, {});
  form.set(kName, {});
  form.set(kChecked, py::to_python(true));
  form.set(kOpened, py::to_python(true));
  return form;
}

py::Dict make_joint_form(const py::Object& stamp, const py::Object& type, const py::Object& icon,
                         const py::Object& color) {
  py::Dict form;
  form.set(kStamp, plain(stamp));
  form.set(kType, plain(type));
  form.set(kName, {});
  form.set(kPath, {});
  form.set(kChildren, {});
  form.set(kIcon, icon);
  form.set(kColor, color);
  return form;
}

bool is_leaf(const DataJoint& joint) {
  return !joint.children || (PyList_CheckExact(joint.children.get()) && PyList_Size(joint.children.get()) == 0);
}

}  // namespace

JointWriter::JointWriter() : bucket_form_(make_bucket_form()) {}

py::Dict JointWriter::write(const DataBucket& bucket) {
  const py::Object yes = py::to_python(true);
  const py::Object joint = bucket.joint;  // making maps may run Python code, which may replace it
  const bool ours = DataJoint::is_exactly(joint);
  py::Dict data = bucket_form_.copy();
  data.set(kJoint, ours ? write(py::value_of<DataJoint>(joint.get())) : joint.attr(kData));
  data.set(kName, plain(bucket.name_characters()));
  if (!bucket.checked.is(yes)) data.set(kChecked, bucket.checked);
  if (!bucket.opened.is(yes)) data.set(kOpened, bucket.opened);
  return data;
}

// A hierarchy may be deeper than the stack: the walk keeps one of its own.
py::Dict JointWriter::write(const DataJoint& joint) {
  if (is_leaf(joint)) return map_of(joint, {});
  struct Level {
    py::Ref<DataJoint> joint;
    std::vector<py::Object> children;
    std::size_t next = 0;
    py::List below;
  };
  std::vector<Level> levels;
  CycleDetector descent;
  const auto enter = [&](const DataJoint& entered) {
    if (descent.returns(levels.size() + 1, &entered)) {
      py::raise(PyExc_RecursionError, "a joint stands below itself");
    }
    levels.push_back({py::Ref<DataJoint>::of(entered), py::collect(entered.children), 0, {}});
  };
  enter(joint);
  while (true) {
    Level& level = levels.back();
    if (level.next < level.children.size()) {
      const py::Object child = level.children[level.next++];
      if (!DataJoint::is_exactly(child)) {
        level.below.append(child.attr(kData));
      } else if (const DataJoint& ours = py::value_of<DataJoint>(child.get()); is_leaf(ours)) {
        level.below.append(map_of(ours, {}));
      } else {
        enter(ours);
      }
      continue;
    }
    py::Dict data = map_of(*level.joint, level.below);
    levels.pop_back();
    if (levels.empty()) return data;
    levels.back().below.append(data);
  }
}

py::Dict JointWriter::map_of(const DataJoint& joint, const py::List& children) {
  py::Dict data = form_of(joint).copy();
  data.set(kName, plain(joint.name.characters()));
  data.set(kPath, plain(joint.path.characters()));
  data.set(kChildren, children);
  return data;
}

py::Dict JointWriter::form_of(const DataJoint& joint) {
  for (const Face& face : faces_) {
    const bool same = face.stamp.is(joint.stamp) && face.type.is(joint.type) && face.icon.is(joint.icon) &&
                      face.color.is(joint.color);
    if (same) return face.form;
  }
  py::Dict form = make_joint_form(joint.stamp, joint.type, joint.icon, joint.color);
  if (faces_.size() < kMostFaces) faces_.push_back({joint.stamp, joint.type, joint.icon, joint.color, form});
  return form;
}

}  // namespace heron
