#include "scene/embedded_data.h"

#include "foundation/cycle_detector.h"
#include "runtime/interrupts.h"

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

py::Ref<DataJoint> joint_of(const py::Object& data, const py::List& children) {
  auto joint = py::Ref<DataJoint>::make();
  joint->init(py::get(data, kStamp), py::get(data, kName), py::get(data, kPath), py::get(data, kType), children,
              py::get(data, kIcon), py::get(data, kColor));
  return joint;
}

bool is_leaf(const DataJoint& joint) {
  return !joint.children || (PyList_CheckExact(joint.children.get()) && PyList_Size(joint.children.get()) == 0);
}

}  // namespace

EmbeddedWriter::EmbeddedWriter() : bucket_form_(make_bucket_form()) {}

py::Dict EmbeddedWriter::write(const DataBucket& bucket) {
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
py::Dict EmbeddedWriter::write(const DataJoint& joint) {
  if (is_leaf(joint)) return map_of(joint, {});
  struct Level {
    py::Ref<DataJoint> joint;
    std::vector<py::Object> children;
    std::size_t next = 0;
    py::List below;
  };
  std::vector<Level> levels;
  CycleDetector<> cycles;
  py::Interrupts interrupts;
  const auto enter = [&](const DataJoint& entered) {
    if (cycles.returns(levels.size() + 1, &entered)) {
      py::raise(PyExc_RecursionError, "a joint is below itself");
    }
    levels.push_back({py::Ref<DataJoint>::of(entered), py::collect(entered.children), 0, {}});
  };
  enter(joint);
  while (true) {
    interrupts.step();
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

py::Dict EmbeddedWriter::map_of(const DataJoint& joint, const py::List& children) {
  py::Dict data = form_of(joint).copy();
  data.set(kName, plain(joint.name.characters()));
  data.set(kPath, plain(joint.path.characters()));
  data.set(kChildren, children);
  return data;
}

py::Dict EmbeddedWriter::form_of(const DataJoint& joint) {
  for (const Face& face : faces_) {
    const bool same = face.stamp.is(joint.stamp) && face.type.is(joint.type) && face.icon.is(joint.icon) &&
                      face.color.is(joint.color);
    if (same) return face.form;
  }
  py::Dict form = make_joint_form(joint.stamp, joint.type, joint.icon, joint.color);
  if (faces_.size() < kMostFaces) faces_.push_back({joint.stamp, joint.type, joint.icon, joint.color, form});
  return form;
}

py::Ref<DataBucket> read_bucket(const py::Object& data) {
  auto bucket = py::Ref<DataBucket>::make();
  bucket->init(read_joint(py::get(data, kJoint, py::Dict())), py::get(data, kName),
               py::get(data, kChecked, py::to_python(true)), py::get(data, kOpened, py::to_python(true)));
  return bucket;
}

py::Ref<DataJoint> read_joint(const py::Object& root) {
  struct Level {
    py::Object data;
    std::vector<py::Object> below;
    py::List joints;
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  CycleDetector<> cycles;
  py::Interrupts interrupts;
  const auto enter = [&](const py::Object& data) {
    if (cycles.returns(levels.size() + 1, data.get())) {
      py::raise(PyExc_RecursionError, "decode() found a joint below itself");
    }
    levels.push_back({data, py::collect(py::get(data, kChildren, py::List())), {}});
  };
  enter(root);
  while (true) {
    interrupts.step();
    Level& level = levels.back();
    if (level.next < level.below.size()) {
      enter(py::Object(level.below[level.next++]));
      continue;
    }
    const py::Ref<DataJoint> joint = joint_of(level.data, level.joints);
    levels.pop_back();
    if (levels.empty()) return joint;
    levels.back().joints.append(joint);
  }
}

}  // namespace heron
