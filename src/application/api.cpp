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
      py::Class<Api>(module, "Api",
                     "A common class to have access to all program components.\n\n"
                     "Args:\n"
                     "    operator: The host, a `Scene.Operator`.\n"
                     "    environment: Where the host keeps its files, an `Environment`.\n"
                     "    export_options: The exporters, each a `Parameters.Options`.\n"
                     "    checks: The root module of an embedded set of checks.\n\n"
                     "A front-end builds one and calls `shutdown` at the end. Exceptions of the host pass.\n\n"
                     "    api = core.Api(operator, environment)\n"
                     "    api.project.load(\"street.json\")\n"
                     "    api.scene.scanner.upload_buffer()  # what is selected in the host\n"
                     "    api.validator.start()\n"
                     "    for task in api.validator.queue:\n"
                     "        for result in task:\n"
                     "            print(result.name, result.status)\n"
                     "    api.shutdown()")
          .no_copies("it stands for the application")
          .init<&Api::init>({"operator", "environment", {"export_options", nullptr}, {"checks", nullptr}})
          .operation<&Api::shutdown>("shutdown",
                                     "Removes what is registered in the host, and the front-end's functions.\n\n"
                                     "Writes nothing.")
          .accessor<&Api::version>("version", "tuple[int, int, int]: The version of the library: major, minor, patch.")
          .accessor<&Api::constants>("constants", "type[Constants]: The enumerations.")
          .accessor<&Api::masks>("masks", "Mask: A new `Mask` of the types that the host can produce now.")
          .accessor<&Api::logger>("logger", "type[Logger]: The log.")
          .readonly<&Api::host>("_op", "Scene.Operator: The host.")
          .readonly<&Api::callbacks>("callbacks", "_CallBacks: The front-end's functions by event.")
          .field<&Api::env>("env", "Environment: Where the host keeps its files.")
          .field<&Api::settings>("settings", "_Settings: The settings of the user.")
          .field<&Api::statistics>("statistics", "_Statistics: The records of use.")
          .field<&Api::validator>("validator", "Api._Validator: Runs the checks.")
          .field<&Api::exporting>("export", "Api._Export: Writes hierarchies out of the scene.")
          .field<&Api::project>("project", "Api._Project: Knows the projects, and which of them is current.")
          .field<&Api::scene>("scene", "Api._Scene: Finds and keeps the hierarchies of the scene.")
          .field<&Api::http>("http", "Api._Http: Makes and reads what is exchanged with the shared server.")
          .done();
  expose_validator(scope);
  expose_export_driver(scope);
  expose_project_facade(scope);
  expose_scene_facade(scope);
  expose_server_exchange(scope);
}

}  // namespace heron
