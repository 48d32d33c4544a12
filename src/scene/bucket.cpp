#include "scene/bucket.h"

#include "foundation/text.h"
#include "scene/embedded_data.h"
#include "scene/joint_tree.h"

namespace heron {
namespace {

const py::Name kStamp("stamp");

}  // namespace

void DataBucket::init(const py::Object& joint_, const py::Object& name, const py::Object& checked_,
                      const py::Object& opened_) {
  joint = joint_;
  checked = checked_;
  opened = opened_;
  static const auto* const kNoName = new py::Object(to_str(py::text("")));
  name_ = LazyText::exactly(*kNoName);
  set_name(name.is_none() ? joint_name(joint) : name);
}

void DataBucket::set_name(const py::Object& text) {
  if (text.is_text()) name_ = LazyText::of(text);
}

bool DataBucket::equals(const py::Object& other) const {
  if (!py::is_instance<DataBucket>(other.get())) return false;
  const DataBucket& bucket = py::value_of<DataBucket>(other.get());
  return joint.equals(bucket.joint) && name_.characters().equals(bucket.name_.characters()) &&
         checked.equals(bucket.checked) && opened.equals(bucket.opened);
}

Py_hash_t DataBucket::hash() const {
  return py::tuple({name_.characters(), joint.attr(kStamp), checked, opened}).hash();
}

py::Dict DataBucket::data() const { return EmbeddedWriter().write(*this); }

py::List DataBucket::get_joints(const py::Object& from) const {
  py::List joints;
  if (from.is_none()) joints.append(joint);
  const py::Object top = from.is_none() ? joint : from;  // foreign joints may run code that replaces ours
  joint_tree::append_below(top, joints);
  return joints;
}

void expose_bucket(const py::Scope& buffer) {
  py::Class<DataBucket>(buffer, "DataBucket",
                        "A scanned hierarchy, with what controls its export and display.\n\n"
                        "Args:\n"
                        "    joint: The root.\n"
                        "    name: For display and export; the joint's name if it is None.\n"
                        "    checked: Takes part in validation and export.\n"
                        "    opened: Shown expanded.\n\n"
                        "Equal buckets agree in all four.")
      .copies()
      .init<&DataBucket::init>({"joint", {"name", nullptr}, {"checked", true}, {"opened", true}})
      .equals<&DataBucket::equals>()
      .hash<&DataBucket::hash>()
      .accessor<&DataBucket::get_name, &DataBucket::set_name>(
          "name", "str: Name of the bucket; only text can be assigned, anything else leaves it as it is.")
      .accessor<&DataBucket::get_name>("_name", "str: Name of the bucket.")
      .accessor<&DataBucket::data>("data", "dict[str, Any]: The bucket as it is embedded in the scene, a new map.")
      .operation<&DataBucket::get_joints>("get_joints", {{"joint", nullptr}},
                                          "All joints of the bucket, or only those below a joint, parents first.\n\n"
                                          "RecursionError for a joint that stands below itself.")
      .field<&DataBucket::joint>("joint", "Scene._Buffer.DataJoint: The root of the hierarchy.")
      .field<&DataBucket::checked>("checked", "bool: Whether the bucket takes part in validation and export.")
      .field<&DataBucket::opened>("opened", "bool: Whether the bucket is shown expanded.")
      .done();
}

}  // namespace heron
