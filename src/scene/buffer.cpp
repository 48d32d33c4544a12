#include "scene/buffer.h"

#include <algorithm>

#include "foundation/text.h"
#include "hierarchy/hierarchy_run.h"
#include "runtime/finally.h"
#include "runtime/garbage_collector.h"
#include "scene/embedded_data.h"
#include "scene/ghost_scene.h"
#include "scene/joint.h"
#include "scene/joint_tree.h"

namespace heron {
namespace {

const py::Name kJoint("joint"), kName("name"), kChecked("checked"), kData("data");
const py::Name kChildren("children"), kPath("path"), kIsGhost("is_ghost"), kGetJoints("get_joints");

bool is_ghost(const py::Object& joint) { return joint.call(kIsGhost).truth(); }

/// Are these paths, or nothing at all? What is embedded in a scene may hold anything.
bool are_paths(const py::Object& group) {
  const std::vector<py::Object> all = py::collect(group);
  return std::all_of(all.begin(), all.end(), [](const py::Object& path) { return path.is_none() || path.is_text(); });
}

py::Object replaced(const py::Object& text, const py::Object& source, const py::Object& target) {
  static const py::Name kReplace("replace");
  return to_str(text.call(kReplace, source, target));
}

}  // namespace

void Buffer::init(const Host& host_, const py::RefOrNone<SceneSnapshot>& snapshot_,
                  const py::RefOrNone<Hierarchy>& hierarchy_) {
  buckets.renew();
  incompatibles.clear();
  host = host_;
  snapshot = snapshot_;
  hierarchy = hierarchy_;
}

bool Buffer::contains(const py::Object& bucket) const { return py::holds(list(), bucket); }

py::List Buffer::get() const { return list().copy(); }

void Buffer::set(const py::Iterable& data) {
  drop(get());
  add(data);
}

void Buffer::add(const py::Iterable& data) const { list().extend(data); }

void Buffer::remove(const py::Object& item) { buckets.remove(item); }

py::List Buffer::get_checked() const {
  py::List checked;
  for (const py::Object& bucket : list().items()) {
    if (bucket.attr(kChecked).truth()) checked.append(bucket);
  }
  return checked;
}

py::List Buffer::get_roots(const py::Object& joint) {
  py::List roots;
  if (!is_ghost(joint)) {
    roots.append(joint.attr(kPath));
    return roots;
  }
  for (const py::Object& child : py::collect(joint.attr(kChildren))) roots.append(child.attr(kPath));
  return roots;
}

py::List Buffer::get_path_groups() const {
  py::List groups;
  for (const py::Object& bucket : list().items()) groups.append(get_roots(bucket.attr(kJoint)));
  return groups;
}

void Buffer::load() {
  const py::GarbageCollectorPause pause;
  set(decode(host.query_filedata()));
}

void Buffer::update() const {
  const py::List data = encode(py::Iterable(list()));
  host.erase_filedata();
  host.embed_filedata(data);
}

void Buffer::erase() {
  host.erase_filedata();
  snapshot->offload();
  drop(get());
  incompatibles.clear();
}

py::List Buffer::encode(const py::Iterable& data) {
  py::List encoded;
  EmbeddedWriter writer;
  for (const py::Object& bucket : py::collect(data)) {
    const bool ours = DataBucket::is_exactly(bucket);
    encoded.append(ours ? writer.write(py::value_of<DataBucket>(bucket.get())) : bucket.attr(kData));
  }
  return encoded;
}

py::List Buffer::decode(const py::Iterable& data) const {
  py::List decoded;
  for (const py::Object& item : py::collect(data)) decoded.append(read_bucket(item));
  return decoded;
}

py::Object Buffer::decode_joint(const py::Object& data) const { return read_joint(data); }

void Buffer::rename(const py::Object& source, const py::Object& target) const {
  const py::Object from = to_str(source), to = to_str(target);
  for (const py::Object& bucket : list().items()) {
    const py::Object name = bucket.attr(kName);
    if (py::holds(name, from)) bucket.set_attr(kName, replaced(name, from, to));
  }
}

void Buffer::repath(const py::Object& source, const py::Object& target) const {
  const py::Object from = to_str(source), to = to_str(target);
  for (const py::Object& bucket : list().items()) {
    for (const py::Object& joint : py::collect(bucket.call(kGetJoints))) {
      const py::Object path = joint.attr(kPath);
      if (path.is_text() && py::holds(path, from)) joint.set_attr(kPath, replaced(path, from, to));
    }
  }
}

void Buffer::clear(bool selected) {
  if (!selected) {
    erase();
    return;
  }
  drop(get_checked());
  update();
}

void Buffer::drop(const py::Iterable& array) {
  const std::vector<py::Object> leaving = py::collect(array);
  const BucketList::Clearance clearance(buckets);
  const auto leave = [&] {
    for (const py::Object& bucket : leaving) {
      remove(bucket);
      for (const py::Object& joint : py::collect(bucket.call(kGetJoints))) {
        host.scan_removed(joint);
      }
    }
  };
  py::finally(leave, [&] { buckets.list(); });  // which holds them no longer
}

void Buffer::sort(const py::Object& root) const {
  if (!root.is_none()) {
    joint_tree::sort(py::List(root));
    return;
  }
  for (const py::Object& bucket : list().items()) {
    if (const py::Object joints = joint_children(bucket.attr(kJoint))) joint_tree::sort(py::List(joints));
  }
}

void Buffer::validate() const {
  const py::GarbageCollectorPause pause;
  incompatibles.clear();
  const std::vector<py::Object> groups = get_path_groups().items();
  py::List scene_roots;
  for (const py::Object& group : groups) {
    if (are_paths(group)) scene_roots.extend(group);
  }
  snapshot->upload(scene_roots, true);
  if (groups.empty()) return;
  HierarchyRun run(*hierarchy);  // which reads the pattern once for all groups
  for (const py::Object& group : groups) {
    if (!are_paths(group) || !run.is_valid(group)) incompatibles.extend(group);
  }
}

bool Buffer::is_valid() const {
  return exists() && ghosts_match() && is_match(py::Object::none()) && incompatibles.empty();
}

bool Buffer::ghosts_match() const {
  GhostScene scene(host, snapshot, hierarchy);
  const std::vector<py::Object> all = list().items();
  return std::all_of(all.begin(), all.end(),
                     [&](const py::Object& bucket) { return scene.match(bucket.attr(kJoint)); });
}

bool Buffer::ghost_match(const py::Object& bucket) const {
  return GhostScene(host, snapshot, hierarchy).match(bucket.attr(kJoint));
}

bool Buffer::is_match(const py::Object& array) const {
  if (!array.is_none()) return joint_tree::is_match(py::collect(array), host);
  std::vector<py::Object> joints;
  for (const py::Object& bucket : list().items()) joints.push_back(bucket.attr(kJoint));
  return joint_tree::is_match(std::move(joints), host);
}

void expose_buffer(const py::Scope& scene) {
  const py::Scope buffer =
      py::Class<Buffer>(scene, "_Buffer",
                        "The hierarchies found in the scene, kept in the scene file.\n\n"
                        "Args:\n"
                        "    operator: The host.\n"
                        "    virtual: The snapshot.\n"
                        "    hierarchy: The matcher.\n\n"
                        "The buffer changes the snapshot freely. Exceptions of the host pass. Joints below themselves "
                        "give RecursionError.")
          .no_copies("it belongs to a scene")
          .init<&Buffer::init>({"operator", "virtual", "hierarchy"})
          .contains<&Buffer::contains>()
          .operation<&Buffer::get>("get", "A new list of the buckets.")
          .operation<&Buffer::set>("set", {"data"}, "Replaces the buckets; the old ones leave as by `clear`.")
          .operation<&Buffer::add>("add", {"data"}, "Appends buckets. Nothing persists.")
          .operation<&Buffer::remove>("remove", {"item"},
                                      "Removes the first equal bucket; ValueError if there is none. Nothing persists.")
          .operation<&Buffer::exists>("exists", "Whether there is a bucket.")
          .accessor<&Buffer::get_incompatibles>(
              "incompatibles", "list[str]: The paths of the roots that failed the last `validate`, as the list itself.")
          .operation<&Buffer::get_checked>("get_checked", "A new list of the buckets that are checked.")
          .static_operation<&Buffer::get_roots>(
              "get_roots", {"joint"}, "The paths that a root joint stands for: its own, or a ghost's children's.")
          .operation<&Buffer::get_path_groups>("get_path_groups", "The roots of each bucket, a list of lists.")
          .operation<&Buffer::load>("load", "Replaces the buckets by those embedded in the scene.")
          .operation<&Buffer::update>("update", "Embeds the buckets in the scene, in place of what is there.")
          .operation<&Buffer::erase>(
              "erase", "Drops the buckets, the data embedded in the scene, the snapshot and the incompatible paths.")
          .static_operation<&Buffer::encode>("encode", {"data"}, "The data of these buckets, as they are embedded.")
          .operation<&Buffer::decode>("decode", {"data"}, "New buckets from embedded data.")
          .operation<&Buffer::decode_joint>("_decode", {"data"}, "A new joint, with all below it, from its data.")
          .operation<&Buffer::rename>("rename", {"source", "target"},
                                      "Replaces a part of the buckets' names. Nothing persists.")
          .operation<&Buffer::repath>("repath", {"source", "target"},
                                      "Replaces a part of the joints' paths. Nothing persists.")
          .operation<&Buffer::clear>("clear", {{"selected", false}},
                                     "Erases everything, or drops the checked buckets and embeds the rest.")
          .operation<&Buffer::drop>("_clear", {"array"}, "Removes these buckets; the host hears of each joint.")
          .operation<&Buffer::sort>("sort", {{"root", nullptr}},
                                    "Sorts the children of all joints by name, or a list of joints and all below. The "
                                    "buckets keep their order.")
          .operation<&Buffer::validate>("validate",
                                        "Takes a new snapshot and matches each bucket's roots with the pattern; those "
                                        "that fail are in `incompatibles`.")
          .operation<&Buffer::is_valid>(
              "is_valid", "Whether there are buckets that look like the scene, and the last `validate` found nothing.")
          .operation<&Buffer::ghosts_match>("ghosts_match", "Whether `ghost_match` holds for all buckets.")
          .operation<&Buffer::ghost_match>(
              "ghost_match", {"bucket"},
              "Whether the roots of a ghost's bucket may still stand under the pattern's ghost.")
          .operation<&Buffer::is_match>("is_match", {{"_array", nullptr}},
                                        "Whether all objects exist, with as many children as their joints. A ghost's "
                                        "children alone decide for it and for all that follow.")
          .accessor<&Buffer::list>("_data", "list[Scene._Buffer.DataBucket]: The buckets.")
          .readonly<&Buffer::incompatibles>("_incompatibles", "list[str]: The incompatible paths.")
          .readonly<&Buffer::host>("_operator", "Scene.Operator: The host.")
          .readonly<&Buffer::snapshot>("_virtual", "Scene._Virtual: The snapshot.")
          .readonly<&Buffer::hierarchy>("_hierarchy", "_Hierarchy: The matcher.")
          .done();
  expose_joint(buffer);
  expose_bucket(buffer);
}

}  // namespace heron
