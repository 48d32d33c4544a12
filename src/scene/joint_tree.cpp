#include "scene/joint_tree.h"

#include <algorithm>

#include "foundation/cycle_detector.h"
#include "runtime/identity_set.h"
#include "runtime/interrupts.h"
#include "scene/joint.h"

namespace heron::joint_tree {
namespace {

const py::Name kPath("path"), kIsGhost("is_ghost");

/// Is told of every step down.
void refuse_cycle(CycleDetector<>& cycles, std::size_t depth, const py::Object& joint, const char* operation) {
  if (!cycles.returns(depth, joint.get())) return;
  py::raise(PyExc_RecursionError, std::string(operation) + "() found a joint below itself");
}

py::Object children_of(const py::Object& joint) {
  const py::Object children = joint_children(joint);
  return children ? children : py::List();
}

/// Texts are in the order of their characters, which UTF-8 keeps.
void sort_by_name(const py::List& joints) {
  struct Entry {  // plain values: they are moved many times
    std::string_view name;
    std::size_t at;
  };
  if (joints.size() < 2) return;
  const std::vector<py::Object> items = joints.items();
  std::vector<py::Utf8> names;
  std::vector<Entry> entries;
  names.reserve(items.size());
  entries.reserve(items.size());
  for (const py::Object& joint : items) {
    names.emplace_back(joint_name(joint));
    entries.push_back({names.back(), entries.size()});
  }
  const auto by_name = [](const Entry& a, const Entry& b) { return a.name < b.name; };
  if (std::is_sorted(entries.begin(), entries.end(), by_name)) return;
  std::stable_sort(entries.begin(), entries.end(), by_name);
  for (std::size_t i = 0; i < entries.size(); ++i) joints.set(static_cast<Py_ssize_t>(i), items[entries[i].at]);
}

}  // namespace

void append_below(const py::Object& root, const py::List& joints) {
  struct Level {
    py::Object joint;  // kept, so that nothing else can take its place
    std::vector<py::Object> children;
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  CycleDetector<> cycles;
  py::Interrupts interrupts;
  const auto enter = [&](const py::Object& parent) {
    const py::Object below = joint_children(parent);
    if (!below) return;
    std::vector<py::Object> children = py::collect(below);
    if (children.empty()) return;
    refuse_cycle(cycles, levels.size() + 1, parent, "get_joints");
    levels.push_back({parent, std::move(children)});
  };
  enter(root);
  while (!levels.empty()) {
    Level& level = levels.back();
    if (level.next == level.children.size()) {
      levels.pop_back();
      continue;
    }
    interrupts.step();
    const py::Object child = level.children[level.next++];
    joints.append(child);
    enter(child);
  }
}

void sort(const py::List& root) {
  struct Level {
    py::List joints;
    std::vector<py::Object> items = joints.items();
    std::size_t next = 0;
  };
  std::vector<Level> levels;
  CycleDetector<> cycles;
  py::IdentitySet sorted;
  py::Interrupts interrupts;
  levels.push_back({root});
  while (!levels.empty()) {
    interrupts.step();
    Level& level = levels.back();
    if (level.next == level.items.size()) {
      sort_by_name(level.joints);
      sorted.add(level.joints);
      levels.pop_back();
      continue;
    }
    const py::Object joint = level.items[level.next++];
    const py::Object below = joint_children(joint);
    if (!below) continue;
    const py::List children(below);
    if (children.empty() || sorted.contains(children)) continue;
    refuse_cycle(cycles, levels.size(), joint, "sort");
    levels.push_back({children});
  }
}

bool is_match(std::vector<py::Object> joints, const Host& host) {
  struct Level {
    py::Object parent;  // none of the first level
    std::vector<py::Object> joints;
    std::size_t depth = 0, next = 0;
  };
  std::vector<Level> levels;
  std::vector<py::Object> ghosts;  // kept, so that nothing else can take their place
  CycleDetector<> cycles;
  py::IdentitySet matched;
  py::Interrupts interrupts;
  levels.push_back({{}, std::move(joints)});
  while (!levels.empty()) {
    interrupts.step();
    Level& level = levels.back();
    if (level.next == level.joints.size()) {
      matched.add(level.parent);
      levels.pop_back();
      continue;
    }
    const py::Object joint = level.joints[level.next++];
    if (matched.contains(joint)) continue;
    const std::size_t depth = level.depth + 1;
    const py::Object children = children_of(joint), path = joint.attr(kPath);
    refuse_cycle(cycles, depth, joint, "is_match");
    if (joint.call(kIsGhost).truth()) {
      ghosts.push_back(joint);
      level = {level.parent, py::collect(children), depth};  // what stands behind a ghost is not looked at, as decided
      continue;
    }
    if (!host.exists(path)) return false;
    const py::Object scene_children = host.children(path);
    const Py_ssize_t found = scene_children ? scene_children.length() : 0;
    if (found != children.length()) return false;
    if (found > 0) levels.push_back({joint, py::collect(children), depth});
  }
  return true;
}

}  // namespace heron::joint_tree
