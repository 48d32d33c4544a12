#include "scene/reload.h"

#include <algorithm>

#include "host/operator.h"

namespace heron {
namespace {

const py::Name kGhostMatch("ghost_match");

/// A subclass may do otherwise, and an operation may be put in the place of ours.
Buffer* own(const py::Object& buffer) {
  static const py::Name kDict("__dict__");
  const bool ours =
      Py_TYPE(buffer.or_none()) == py::TypeOf<Buffer>::type && !py::Dict(buffer.attr(kDict)).find(kGhostMatch);
  return ours ? &py::value_of<Buffer>(buffer.get()) : nullptr;
}

}  // namespace

struct Loader::Run {
  explicit Run(const Loader& loader) : run(*loader.hierarchy_, loader.pattern_), builder(run, loader.host_) {}

  HierarchyRun run;
  JointBuilder builder;
};

/// Lets others use the hierarchy between two loads.
struct Loader::Paused {
  explicit Paused(HierarchyRun& run_) : run(run_) {}
  ~Paused() { run.pause(); }
  Paused(const Paused&) = delete;
  Paused& operator=(const Paused&) = delete;
  HierarchyRun& run;
};

py::List Loader::load(const py::Object& roots) {
  const py::List scopes = py::Ref<Pattern>(hierarchy_->pattern)->get();
  std::vector<py::Object> read = scopes.items();
  const auto same = [](const py::Object& a, const py::Object& b) { return a.is(b); };
  if (!pattern_ || !std::equal(read.begin(), read.end(), scopes_.begin(), scopes_.end(), same)) {
    run_ = nullptr;
    scopes_ = std::move(read);
    has_ghost_ = hierarchy_->pattern->has_ghost();
    pattern_ = std::make_shared<const PlannedPattern>(scopes);
  }
  if (!run_ || !run_->run.is_current()) {
    run_ = nullptr;  // there must not be two at a time
    run_ = std::make_shared<Run>(*this);
  } else {
    run_->run.resume();
  }
  HierarchyRun& run = run_->run;
  const Paused paused(run);
  run.find_anchors();
  py::List joints = run_->builder.build(run.runner().find(run.locate(roots), run.pattern().plan().top()));
  if (has_ghost_) joints = run_->builder.under_ghost(joints);
  run.finish();
  return joints;
}

Reload::Reload(const py::Ref<Hierarchy>& hierarchy, py::Object host, py::Object buffer)
    : host_(std::move(host)), buffer_(std::move(buffer)), own_(own(buffer_)), loader_(hierarchy, host_) {
  if (own_ != nullptr) ghosts_.emplace(own_->host, own_->snapshot, own_->hierarchy);
}

void Reload::all() {
  static const py::Name kGet("get");
  std::optional<BucketList::Clearance> clearance;
  if (own_ != nullptr) clearance.emplace(own_->buckets);
  for (const py::Object& one : py::collect(buffer_.call(kGet))) bucket(one);
}

void Reload::bucket(const py::Object& bucket) {
  static const py::Name kGetRoots("get_roots"), kJoint("joint");
  if (!ghost_match(bucket)) {
    remove(bucket);
    return;
  }
  py::List roots;
  for (const py::Object& path : py::collect(buffer_.call(kGetRoots, bucket.attr(kJoint)))) {
    if (host_.call(host::kObjectExists, path).truth()) roots.append(path);
  }
  const py::List joints = loader_.load(roots);
  if (joints.empty()) {
    remove(bucket);
  } else {
    bucket.set_attr(kJoint, joints.at(0));
  }
}

bool Reload::ghost_match(const py::Object& bucket) {
  static const py::Name kJoint("joint");
  return ghosts_ ? ghosts_->match(bucket.attr(kJoint)) : buffer_.call(kGhostMatch, bucket).truth();
}

void Reload::remove(const py::Object& bucket) const {
  static const py::Name kRemove("remove");
  buffer_.call(kRemove, bucket);
}

}  // namespace heron
