#include "hierarchy/hierarchy_run.h"

namespace heron {

HierarchyRun::Claim::Claim(Hierarchy& hierarchy) : hierarchy_(py::Ref<Hierarchy>::of(hierarchy)) {
  if (hierarchy.running_) py::raise(PyExc_RuntimeError, "_Hierarchy cannot match while it is matching");
  hierarchy.running_ = true;
}

HierarchyRun::HierarchyRun(Hierarchy& hierarchy, const py::Object& scopes)
    : claim_(hierarchy),
      planned_(scopes),
      copy_(snapshot_of(hierarchy.query_op)),
      locations_(hierarchy.query_op),
      runner_(hierarchy.search->logic->logic(), objects(), planned_.plan()) {
  state().native();
}

std::shared_ptr<SceneCopy> HierarchyRun::snapshot_of(const py::Object& query) {
  // Exactly our own snapshot: a subclass may answer otherwise.
  return Py_TYPE(query.or_none()) == py::TypeOf<Virtual>::type ? py::value_of<Virtual>(query.get()).copy() : nullptr;
}

std::vector<ObjectId> HierarchyRun::locate(const py::Object& paths) {
  if (!copy_) return locations_.locate(paths);
  std::vector<ObjectId> found;
  for (const py::Object& path : py::collect(paths)) {
    const auto id = copy_->snapshot.find(py::Utf8(path));
    if (id && copy_->snapshot.exists(*id)) found.push_back(*id);
  }
  return found;
}

py::Object HierarchyRun::path(ObjectId object) const {
  static const py::Name kPath("path");
  return copy_ ? copy_->objects[object].path : locations_.location(object).attr(kPath);
}

py::Object HierarchyRun::name(ObjectId object) const {
  static const py::Name kName("name");
  return copy_ ? copy_->objects[object].name : locations_.location(object).attr(kName);
}

void HierarchyRun::find_anchors() { state().reset({planned_.plan().definitions, nullptr}); }

bool HierarchyRun::is_valid(const py::Object& roots) {
  find_anchors();
  const bool valid = runner_.is_valid(locate(roots));
  finish();
  return valid;
}

void HierarchyRun::finish() {
  // Each scope of a layer ends in captures put in place, and that brings their hash up to date.
  if (!planned_.plan().top().scopes.empty()) state().make_native_hash();
  state().publish();
}

}  // namespace heron
