#include "application/api.h"

#include "foundation/masks.h"

namespace heron {
namespace {

/// Something that the module itself holds under this name.
py::Object of_module(const py::Name& name) {
  static const auto* module = new py::Object(py::Object::steal(PyImport_ImportModule("core")));
  return module->attr(name);
}

}  // namespace

// The order of construction is fixed: what comes later uses what came before while it is built.
void Api::init(const py::Object& host_, const py::Object&, const py::Object&, const py::Object&) {
  host = host_;
  callbacks = py::Ref<CallBacks>::make();
}

void Api::shutdown() const {
  static const py::Name kDeleteCallbacks("delete_callbacks");
  host.call(kDeleteCallbacks);
  py::Ref<CallBacks>(callbacks)->clear();
}

py::Object Api::version() const {
  static const py::Name kVersion("version");
  return of_module(kVersion);
}

py::Object Api::constants() const {
  static const py::Name kConstants("Constants");
  return of_module(kConstants);
}

py::Object Api::masks() const {
  static const py::Name kTypeMapping("type_mapping");
  auto masks = py::Ref<Mask>::make();
  masks->init(host.attr(kTypeMapping));
  return masks;
}

py::Object Api::logger() const {
  static const py::Name kLogger("Logger");
  return of_module(kLogger);
}

void expose_api(const py::Scope& module) {
  py::Class<Api>(
      module, "Api",
      "A common class to have access to all program components.\n\n"
      "operator: the host, a `Scene.Operator`. environment: where the host keeps its files. export_options:\n"
      "the exporters. checks: the root module of an embedded set of checks. A front-end builds one and calls\n"
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
      .done();
}

}  // namespace heron
