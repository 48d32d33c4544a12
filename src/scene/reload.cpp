#include "scene/reload.h"

#include <algorithm>

namespace heron {

struct Loader::Run {
  explicit Run(const Loader& loader) : run(*loader.hierarchy_, loader.pattern_), builder(run, loader.host_) {}

  HierarchyRun run;
  JointBuilder builder;
};

/// Lets others use the hierarchy between two loads, and when the host hears of the joints.
struct Loader::Paused {
  explicit Paused(HierarchyRun& run_) : run(run_) {}
  ~Paused() { run.pause(); }
  Paused(const Paused&) = delete;
  Paused& operator=(const Paused&) = delete;
  HierarchyRun& run;
};

py::List Loader::load(const py::Object& roots) {
  const py::List scopes = hierarchy_->pattern->get();
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
  const MatchTree& tree = run.runner().find(run.locate(roots), run.pattern().plan().top());
  run.finish();
  run.pause();
  const py::List joints = run_->builder.build(tree);
  return has_ghost_ ? run_->builder.under_ghost(joints) : joints;
}

Reload::Reload(const py::Ref<Hierarchy>& hierarchy, const Host& host, const py::Ref<Buffer>& buffer)
    : host_(host),
      buffer_(buffer),
      loader_(hierarchy, host_),
      ghosts_(buffer_->host, buffer_->snapshot, buffer_->hierarchy) {}

void Reload::all() {
  const BucketList::Clearance clearance(buffer_->buckets);
  for (const py::Object& one : buffer_->get().items()) bucket(one);
}

void Reload::bucket(const py::Object& bucket) {
  static const py::Name kJoint("joint");
  if (!ghosts_.match(bucket.attr(kJoint))) {
    buffer_->remove(bucket);
    return;
  }
  py::List roots;
  for (const py::Object& path : Buffer::get_roots(bucket.attr(kJoint)).items()) {
    if (host_.exists(path)) roots.append(path);
  }
  const py::List joints = loader_.load(roots);
  if (joints.empty()) {
    buffer_->remove(bucket);
  } else {
    bucket.set_attr(kJoint, joints.at(0));
  }
}

}  // namespace heron
