#include "scene/ghost_scene.h"

#include "scene/buffer.h"

namespace heron {

bool GhostScene::match(const py::Object& joint) {
  static const py::Name kIsGhost("is_ghost");
  if (!joint.call(kIsGhost).truth()) return true;
  const py::List roots = Buffer::get_roots(joint);
  py::List scene_roots;
  for (const py::Object& path : roots.items()) {
    if (!path.is_none() && !path.is_text()) return false;
    if (host_.exists(path)) scene_roots.append(tops_.end_of(path));
  }
  upload(scene_roots);
  return hierarchy_->ghost_scope_match(roots);
}

void GhostScene::upload(const py::List& scene_roots) {
  const py::Dict different;
  for (const py::Object& root : scene_roots.items()) different.set(root, py::Object::none());
  const py::List roots = different.keys();
  if (content_ && content_ == snapshot_->copy() && uploaded_.equals(roots)) return;
  content_ = nullptr;  // two of them at a time would take twice the memory
  snapshot_->upload(scene_roots, true);
  content_ = snapshot_->copy();
  uploaded_ = roots;
}

}  // namespace heron
