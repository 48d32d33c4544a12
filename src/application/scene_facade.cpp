#include "application/scene_facade.h"

#include "files/paths.h"

namespace heron {
namespace {
const py::Name kCallbacks("callbacks"), kEnv("env"), kProject("project"), kFilename("filename"), kLoad("load");
}  // namespace

void SceneFacade::init(const py::Object& api_, const Host& host_, const py::Ref<SceneSnapshot>& snapshot,
                       const py::Ref<Hierarchy>& hierarchy_, const py::Ref<Buffer>& buffer_) {
  api = api_;
  host = host_;
  hierarchy = hierarchy_;
  buffer = buffer_;
  scanner = py::made<Scanner>(api, host, snapshot, hierarchy_, buffer, api.attr(kCallbacks));
  load_states();
  link_buffer();
}

py::Object SceneFacade::directory_dialog(const py::Object& start) const {
  static const py::Name kDecodeUser("decode_user"), kEncodeUser("encode_user");
  const py::Object env = api.attr(kEnv);
  const py::Object path = paths::plain(host.ask_directory(env.call(kDecodeUser, paths::plain(start))));
  return path.truth() ? paths::plain(env.call(kEncodeUser, path)) : py::Object::none();
}

// An empty project has no file, and nothing to load.
void SceneFacade::load_states() const {
  static const py::Name kGetCurrent("get_current"), kIsExists("is_exists");
  const py::Object projects = api.attr(kProject);
  const py::Object filename = projects.call(kGetCurrent).attr(kFilename);
  if (projects.call(kIsExists, filename).truth()) projects.call(kLoad, filename);
}

void SceneFacade::link_buffer() const {
  static const py::Name kLoadBuffer("_load_buffer");
  const py::Object load = py::object_of(*this).attr(kLoadBuffer);
  load();
  host.on_scene_opened(load);
}

void SceneFacade::load_buffer() const {
  static const py::Name kBufferLoaded("buffer_loaded");
  buffer->load();
  api.attr(kCallbacks).call(kBufferLoaded);
}

void expose_scene_facade(const py::Scope& api) {
  py::Class<SceneFacade>(
      api, "_Scene",
      "Api component to communicate with the scene.\n\n"
      "Loads the current project, then what is embedded in the open scene, and that again each time the host has "
      "opened a scene: no scan is needed, and what the file holds is believed. Exceptions of the host pass.")
      .no_copies("it belongs to an Api")
      .init<&SceneFacade::init>({"api", "operator", "virtual", "hierarchy", "buffer"})
      .operation<&SceneFacade::directory_dialog>(
          "directory_dialog", {{"start", "~"}},
          "Lets the user choose a directory, beginning at `start`.\n\n"
          "Both `start` and the result may hold \"~\" for the user's home, as paths in the settings and in projects "
          "do. Returns None if the user cancels.")
      .operation<&SceneFacade::load_states>("_load_states", "Loads the current project, if there is one.")
      .operation<&SceneFacade::link_buffer>("_link_buffer",
                                            "Loads the buffer, and has the host load it whenever a scene is opened.")
      .operation<&SceneFacade::load_buffer>("_load_buffer",
                                            "Loads the buffer from the open scene, then calls `buffer_loaded`.")
      .field<&SceneFacade::hierarchy>("hierarchy", "_Hierarchy: The matcher.")
      .field<&SceneFacade::buffer>("buffer", "Scene._Buffer: The matched hierarchies.")
      .field<&SceneFacade::scanner>("scanner", "Scene._Scanner: Looks for hierarchies below the selection.")
      .readonly<&SceneFacade::api>("_api", "Api: What the component belongs to.")
      .readonly<&SceneFacade::host>("_op", "Scene.Operator: The host.")
      .done();
}

}  // namespace heron
