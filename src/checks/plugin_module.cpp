#include "checks/plugin_module.h"

#include <memory>

#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kFindSpec("find_spec");

/// `sys.modules`; none when the runtime is about to end.
py::Object loaded_modules() {
  PyObject* modules = PySys_GetObject("modules");
  return modules != nullptr && PyDict_Check(modules) != 0 ? py::Object::borrow(modules) : py::Object();
}

/// The names under which a plug-in stands in `sys.modules`: its own, and that of the package which it seems to be in,
/// as an import of it looks for that, too.
struct Entry {
  py::Object package, name;
};

/// Takes the names out again. An error that is on its way at that moment stays.
void remove_entry(PyObject* capsule) {
  PyObject *type = nullptr, *value = nullptr, *trace = nullptr;
  PyErr_Fetch(&type, &value, &trace);
  {
    const std::unique_ptr<Entry> entry(static_cast<Entry*>(PyCapsule_GetPointer(capsule, nullptr)));
    if (const py::Object modules = loaded_modules()) {
      for (const py::Object& name : {entry->name, entry->package}) {
        if (PyDict_DelItem(modules.get(), name.get()) != 0) PyErr_Clear();  // somebody else has taken it out
      }
    }
  }
  PyErr_Restore(type, value, trace);
}

/// Enters a package of no file under a name that nobody has, and promises the name of a module in it.
py::Object make_entry(const py::Object& name, py::Object& qualified) {
  static std::size_t number = 0;
  const py::Dict modules(loaded_modules());
  std::string package;
  do {
    package = "_plugin_" + std::to_string(++number);
  } while (modules.find(py::text(package)));
  qualified = py::text(package + "." + py::Utf8(name).str());
  auto entry = std::make_unique<Entry>(Entry{py::text(package), qualified});
  modules.set(entry->package, py::Object::steal(PyModule_NewObject(entry->package.get())));
  py::Object capsule = py::Object::steal(PyCapsule_New(entry.get(), nullptr, remove_entry));
  [[maybe_unused]] const Entry* owned = entry.release();
  return capsule;
}

py::Object module_of(const py::Object& spec) {
  static const py::Name kFromSpec("module_from_spec");
  return py::modules::importlib_util.call(kFromSpec, spec);
}

void execute(const py::Object& spec, const py::Object& module) {
  static const py::Name kLoader("loader"), kExecModule("exec_module");
  spec.attr(kLoader).call(kExecModule, module);
}

}  // namespace

PluginModule PluginModule::run(const py::Object& importer, const py::Object& name) {
  py::Object qualified;
  PluginModule plugin;
  plugin.entry = make_entry(name, qualified);
  py::Object spec = importer.call(kFindSpec, qualified);
  if (spec.is_none()) {  // an importer of another kind, which knows its modules by their plain names alone
    plugin.entry = py::Object();
    spec = importer.call(kFindSpec, name);
  }
  plugin.module = module_of(spec);
  if (plugin.entry) py::Dict(loaded_modules()).set(qualified, plugin.module);
  execute(spec, plugin.module);
  return plugin;
}

}  // namespace heron
