#include "application/api.h"

#include "application/export_driver.h"
#include "application/project_facade.h"
#include "application/scene_facade.h"
#include "application/server_exchange.h"
#include "application/validator.h"
#include "checks/check_classes.h"
#include "foundation/masks.h"
#include "hierarchy/hierarchy.h"
#include "host/environment.h"
#include "host/scene_snapshot.h"
#include "runtime/modules.h"
#include "scene/buffer.h"
#include "server/statistics.h"
#include "settings/settings.h"

namespace heron {

// The order of construction is fixed: what comes later uses what came before while it is built.
void Api::init(const Host& host_, const py::Object& environment, const py::Object& export_options,
               const py::Object& checks) {
  const auto self = py::Ref<Api>::of(*this);
  host = host_;
  callbacks = py::Ref<CallBacks>::make();
  env = is_environment(environment) ? environment : py::made<LocalEnv>();
  const auto stored = py::made<Settings>(env);
  settings = stored;
  statistics = py::made<Statistics>(env);
  const py::Ref<CheckDirectoryList> directories = stored->check->directories;
  directories->embed(checks);
  const auto classes = py::made<CheckClasses>(directories);
  const auto snapshot = py::made<SceneSnapshot>(host);
  const auto hierarchy = py::made<Hierarchy>(SceneQueries(snapshot), classes);
  const auto buffer = py::made<Buffer>(host, snapshot, hierarchy);
  validator = py::made<Validator>(self, host, classes, hierarchy, buffer);
  exporting = py::made<ExportDriver>(self, host, buffer, export_options);
  project = py::made<ProjectFacade>(self, hierarchy);
  scene = py::made<SceneFacade>(self, host, snapshot, hierarchy, buffer);
  http = py::made<ServerExchange>(self);
}

void Api::shutdown() const {
  host.delete_callbacks();
  callbacks->clear();
}

py::Object Api::version() const {
  static const py::Name kVersion("version");
  return py::modules::core.attr(kVersion);
}

py::Object Api::constants() const {
  static const py::Name kConstants("Constants");
  return py::modules::core.attr(kConstants);
}

py::Object Api::masks() const {
  auto masks = py::Ref<Mask>::make();
  masks->init(host.type_mapping());
  return masks;
}

py::Object Api::logger() const {
  static const py::Name kLogger("Logger");
  return py::modules::core.attr(kLogger);
}

void expose_api(const py::Scope& module) {
  const py::Scope scope =
      py::Class<Api>(
          module, "Api",
          "A common class to have access to all program components.\n\n"
          "operator: the host, a `Scene.Operator`. environment: where the host keeps its files. export_options:\n"
          "the exporters, each a `Parameters.Options`. checks: the root module of an embedded set of checks. A "
          "front-end builds one and calls\n"
          "`shutdown` at the end. Exceptions of the host pass.")
          .init<&Api::init>({"operator", "environment", {"export_options", nullptr}, {"checks", nullptr}})
          .operation<&Api::shutdown>("shutdown",
                                     "Removes what is registered in the host, and the front-end's functions.\n\n"
                                     "Writes nothing.")
          .accessor<&Api::version>("version", "The version of the library: major, minor, patch.")
          .accessor<&Api::constants>("constants", "The enumerations, `Constants`.")
          .accessor<&Api::masks>("masks", "A new `Mask` of the types that the host can produce now.")
          .accessor<&Api::logger>("logger", "The log, `Logger`.")
          .readonly<&Api::host>("_op", "The host.")
          .readonly<&Api::callbacks>("callbacks", "The front-end's functions by event.")
          .field<&Api::env>("env", "Where the host keeps its files.")
          .field<&Api::settings>("settings", "The settings of the user.")
          .field<&Api::statistics>("statistics", "The records of use.")
          .field<&Api::validator>("validator", "Runs the checks.")
          .field<&Api::exporting>("export", "Writes hierarchies out of the scene.")
          .field<&Api::project>("project", "Knows the projects, and which of them is current.")
          .field<&Api::scene>("scene", "Finds and keeps the hierarchies of the scene.")
          .field<&Api::http>("http", "Makes and reads what is exchanged with the shared server.")
          .done();
  expose_validator(scope);
  expose_export_driver(scope);
  expose_project_facade(scope);
  expose_scene_facade(scope);
  expose_server_exchange(scope);
}

}  // namespace heron
