#pragma once

#include "hierarchy/hierarchy.h"
#include "scene/scanner.h"

namespace heron {

/// The front-end's door to the open scene: what matches, what was found, and what looks for it.
class SceneFacade {
 public:
  void init(const py::Object& api_, const Host& host_, const py::Ref<SceneSnapshot>& snapshot,
            const py::Ref<Hierarchy>& hierarchy_, const py::Ref<Buffer>& buffer_);

  py::Object directory_dialog(const py::Object& start) const;

  void load_states() const;
  void link_buffer() const;
  void load_buffer() const;  ///< What the host calls whenever a scene has been opened.

  py::Object api;
  Host host;
  py::Ref<Hierarchy> hierarchy;
  py::Ref<Buffer> buffer;
  py::Ref<Scanner> scanner;

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(host);
    visit(hierarchy);
    visit(buffer);
    visit(scanner);
  }
};

/// Puts `_Scene` into `Api`.
void expose_scene_facade(const py::Scope& api);

}  // namespace heron
