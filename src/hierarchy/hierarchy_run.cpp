#include "hierarchy/hierarchy_run.h"

#include <stdexcept>

namespace heron {

HierarchyRun::Claim::Claim(Hierarchy& hierarchy) : hierarchy_(py::Ref<Hierarchy>::of(hierarchy)) {
  if (hierarchy.running_) py::raise(PyExc_RuntimeError, "_Hierarchy is already matching");
  hierarchy.running_ = true;
}

HierarchyRun::HierarchyRun(Hierarchy& hierarchy, std::shared_ptr<const PlannedPattern> pattern)
    : hierarchy_(py::Ref<Hierarchy>::of(hierarchy)),
      claim_(std::in_place, hierarchy),
      search_(hierarchy.search),
      anchor_(search_->logic),
      edit_(std::in_place, *anchor_->state),
      planned_(std::move(pattern)),
      copy_(snapshot_of(hierarchy.query_op)),
      locations_(hierarchy.query_op),
      runner_(anchor_->logic(), objects(), planned_->plan()) {
  edit().begin_search(planned_->plan().top());
}

void HierarchyRun::pause() {
  edit_.reset();
  claim_.reset();
}

void HierarchyRun::resume() {
  claim_.emplace(*hierarchy_);
  edit_.emplace(*anchor_->state, AnchorState{planned_->plan().definitions, nullptr});
}

StateEdit& HierarchyRun::edit() {
  if (!edit_) throw std::logic_error("the run is paused");
  return *edit_;
}

bool HierarchyRun::is_current() const {
  return copy_ && hierarchy_->search.is(search_) && snapshot_of(hierarchy_->query_op) == copy_;
}

std::shared_ptr<SceneCopy> HierarchyRun::snapshot_of(const py::Object& query) {
  // Exactly our own snapshot: a subclass may answer otherwise.
  if (Py_TYPE(query.or_none()) != py::TypeOf<SceneSnapshot>::type) return nullptr;
  std::shared_ptr<SceneCopy> copy = py::value_of<SceneSnapshot>(query.get()).copy();
  if (copy->uploads > 0) py::raise(PyExc_RuntimeError, "_Hierarchy cannot match during an upload of the snapshot");
  return copy;
}

std::vector<ObjectId> HierarchyRun::locate(const py::Object& paths) {
  if (!copy_) return locations_.locate(paths);
  std::vector<ObjectId> found;
  for (const py::Object& path : py::collect(paths)) {
    if (path.is_none()) continue;  // stands for no object
    const auto id = copy_->snapshot.find(py::Utf8(path));
    if (id && copy_->snapshot.is_found(*id)) found.push_back(*id);
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

void HierarchyRun::find_anchors() { edit().replace({planned_->plan().definitions, nullptr}); }

bool HierarchyRun::is_valid(const py::Object& roots) {
  find_anchors();
  const bool valid = runner_.fits(locate(roots), planned_->plan().top());
  finish();
  return valid;
}

void HierarchyRun::finish() {
  edit().end_search(runner_.search());
  search_->set_backup(runner_.search().backup());
}

}  // namespace heron
