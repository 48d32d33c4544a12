#include "scene/ghost_scene.h"

#include "host/operator.h"
#include "scene/buffer.h"

namespace heron {

bool GhostScene::match(const py::Object& joint) {
  static const py::Name kIsGhost("is_ghost"), kGhostScopeMatch("ghost_scope_match");
  if (!joint.call(kIsGhost).truth()) return true;
  const py::List roots = Buffer::get_roots(joint);
  py::List scene_roots;
  for (const py::Object& path : roots.items()) {
    if (host_.call(host::kObjectExists, path).truth()) scene_roots.append(tops_.of(path));
  }
  upload(scene_roots);
  return hierarchy_.call(kGhostScopeMatch, roots).truth();
}

void GhostScene::upload(const py::List& scene_roots) {
  static const py::Name kUpload("upload");
  const py::Dict different;
  for (const py::Object& root : scene_roots.items()) different.set(root, py::Object::none());
  const py::List roots = different.keys();
  if (content_ && content_ == content() && uploaded_.equals(roots)) return;
  content_ = nullptr;  // two of them at a time would take twice the memory
  snapshot_.call(kUpload, scene_roots);
  content_ = content();
  uploaded_ = roots;
}

std::shared_ptr<const void> GhostScene::content() const {
  const bool ours = Py_TYPE(snapshot_.or_none()) == py::TypeOf<SceneSnapshot>::type;
  return ours ? py::value_of<SceneSnapshot>(snapshot_.get()).copy() : nullptr;
}

}  // namespace heron
