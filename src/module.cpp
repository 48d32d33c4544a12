#include "application/api.h"
#include "checks/checks.h"
#include "export/export_options.h"
#include "export/export_queue.h"
#include "files/file.h"
#include "foundation/assertions.h"
#include "foundation/callbacks.h"
#include "foundation/constants.h"
#include "foundation/errors.h"
#include "foundation/https.h"
#include "foundation/logger.h"
#include "foundation/masks.h"
#include "foundation/naming.h"
#include "foundation/text.h"
#include "foundation/version.h"
#include "hierarchy/hierarchy.h"
#include "host/environment.h"
#include "host/host_application.h"
#include "host/operator.h"
#include "host/scene_snapshot.h"
#include "host/type_mapping.h"
#include "parameters/parameters.h"
#include "projects/collection.h"
#include "projects/project_header.h"
#include "scene/buffer.h"
#include "scene/scanner.h"
#include "server/statistics.h"
#include "server/update_tracker.h"
#include "settings/settings.h"

namespace {

/// What each subsystem offers, in order: a later line may derive from or refer to what an earlier one made.
void expose(const heron::py::Scope& module) {
  heron::accept_any_certificate();
  heron::expose_version(module);
  heron::expose_text(module);
  heron::expose_constants(module);
  heron::expose_naming(module);
  heron::expose_errors(module);
  const heron::py::Scope assertions = heron::expose_assertions(module);
  heron::expose_logger(module);
  heron::expose_callbacks(module);
  heron::expose_masks(module);

  heron::expose_files(module);
  heron::expose_environment(module, assertions);
  heron::expose_host_application(module);

  heron::expose_type_mapping(module);
  const heron::py::Scope scene =
      heron::py::make_namespace(module, "Scene", "Classes that communicate with the scene open in the host.");
  heron::expose_operator(scene);
  heron::expose_scene_snapshot(scene);
  heron::expose_buffer(scene);
  heron::expose_scanner(scene);
  heron::expose_hierarchy(module);

  heron::expose_parameters(module);

  heron::expose_settings(module);

  heron::expose_statistics(module);
  heron::expose_update_tracker(module);

  heron::expose_checks(module, assertions);

  const heron::py::Scope exporting = heron::py::make_namespace(module, "_Export", "What an export consists of.");
  heron::expose_export_flags(exporting);
  heron::expose_export_queue(exporting);
  heron::expose_export_options(exporting);

  const heron::py::Scope projects = heron::py::make_namespace(module, "_Project", "Projects, and what they hold.");
  const heron::py::Scope project = heron::expose_project_settings(projects);
  const heron::py::Scope rule = heron::expose_rule(project);
  heron::expose_rule_list(rule);
  heron::expose_rule_tree(rule);
  heron::expose_history(heron::expose_record(project));
  heron::expose_project_header(projects);
  heron::expose_project_collection(projects);

  heron::expose_api(module);
}

/// Gives a module that was imported anew what the first one has, so that each class stays the same.
void take_over(const heron::py::Object& filled, const heron::py::Object& module) {
  static const heron::py::Name kDict("__dict__");
  const heron::py::Dict names(module.attr(kDict));
  for (const auto& [name, value] : heron::py::Dict(filled.attr(kDict)).items()) {
    if (!names.find(name)) names.set(name, value);
  }
}

/// Fills the module. There is one set of classes in a process, which belongs to the main interpreter.
int fill(PyObject* object) {
  return heron::py::detail::guarded(
      [&] {
        if (PyInterpreterState_GetID(PyInterpreterState_Get()) != 0) {
          heron::py::raise(PyExc_ImportError, "module 'core' cannot be imported in a subinterpreter");
        }
        static const heron::py::Object* filled = nullptr;
        const auto module = heron::py::Object::borrow(object);
        if (filled == nullptr) {
          heron::py::watch_for_end();
          expose(heron::py::Scope(module));
          filled = new heron::py::Object(module);
        } else {
          take_over(*filled, module);
        }
        return 0;
      },
      -1);
}

PyModuleDef_Slot slots[] = {{Py_mod_exec, reinterpret_cast<void*>(&fill)}, {0, nullptr}};

PyModuleDef definition = {PyModuleDef_HEAD_INIT,
                          "core",
                          "The engine of Heron.\n\n"
                          "Names that begin with an underscore are the engine's own: a front-end or a host\n"
                          "is handed their instances, and reads them, but seldom makes one.",
                          0,
                          nullptr,
                          slots,
                          nullptr,
                          nullptr,
                          nullptr};

}  // namespace

PyMODINIT_FUNC PyInit_core() { return PyModuleDef_Init(&definition); }
