#include "foundation/logger.h"

#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kDebug("debug"), kInfo("info"), kWarning("warning"), kError("error"), kGetLogger("getLogger");
const py::Name kThread("Thread"), kStart("start"), kStrip("strip"), kExcInfo("exc_info");

/// The runtime's root logger, taken once when the module is set up.
const py::Object& root() {
  static const auto* logger = new py::Object(py::modules::logging.call(kGetLogger));
  return *logger;
}

/// Hands a record over on a thread of its own, so that logging never blocks the caller.
void call(const py::Object& function, const py::Object& args, const py::Object& kwargs) {
  static const py::Name kTarget("target"), kArgs("args"), kKwargs("kwargs");
  py::Dict named;
  named.set(kTarget, function);
  named.set(kArgs, args);
  named.set(kKwargs, kwargs);
  py::modules::threading.attr(kThread).apply(py::tuple({}), named).call(kStart);
}

void write(const py::Name& level, const py::Object& message, const py::Object& kwargs) {
  call(root().attr(level), py::tuple({message}), kwargs);
}

void debug(const py::Object& message, const py::Object& kwargs) { write(kDebug, message, kwargs); }
void info(const py::Object& message, const py::Object& kwargs) { write(kInfo, message, kwargs); }
void warning(const py::Object& message, const py::Object& kwargs) { write(kWarning, message, kwargs); }

void error(const py::Object& message, const py::Dict& kwargs) {
  kwargs.set(kExcInfo, py::to_python(false));  // the dict was made for this call
  write(kError, message, kwargs);
}

void exception(const py::Object& message, const py::Dict& kwargs) {
  static const py::Object* strip = new py::Object(
      py::Object::borrow(reinterpret_cast<PyObject*>(&PyUnicode_Type)).attr(kStrip));  // never a subclass's own
  error(message.is_text() ? (*strip)(message, py::text("\n")) : message, kwargs);
}

/// Class and words of an error.
py::Object described(const py::Error& error) {
  return format("{}: {}", {py::text(error.value().type_name()), printable(error.value())});
}

}  // namespace

namespace logger {
bool shows(Level level) {
  static const py::Name kIsEnabled("isEnabledFor");
  return root().call(kIsEnabled, py::to_python(static_cast<int>(level))).truth();
}

void debug(const py::Object& message) { heron::debug(message, py::Dict()); }
void info(const py::Object& message) { heron::info(message, py::Dict()); }
void warning(const py::Object& message) { heron::warning(message, py::Dict()); }
void error(const py::Object& message) { heron::error(message, py::Dict()); }
void exception(const py::Object& message) { heron::exception(message, py::Dict()); }

void caught(const py::Error& error) { exception(described(error)); }
}  // namespace logger

void expose_logger(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(
      module, "Logger",
      "The one door to the log: the runtime's root logger, with no handler, level or format of its own.\n\n"
      "Each record is handed over on a thread of its own, so that logging never blocks the caller; records may arrive "
      "in another order than they were issued. `message` may be any object; `kwargs` go to the logger.");
  const py::Parameters parameters = {"message", py::Parameter::keywords("kwargs")};
  scope.set("_root", root());
  py::function<&debug>(scope, "debug", parameters, "Logs at level debug.");
  py::function<&info>(scope, "info", parameters, "Logs at level info.");
  py::function<&warning>(scope, "warning", parameters, "Logs at level warning.");
  py::function<&error>(scope, "error", parameters, "Logs at level error, never with exception information.");
  py::function<&exception>(scope, "exception", parameters,
                           "Logs the message of a caught exception at level error, without line feeds around it and "
                           "without the traceback. A message that is no text is logged as it is.");
  py::function<&call>(scope, "_call", {"function", "args", "kwargs"},
                      "Calls a logging operation on a new thread and waits for nothing.");
}

}  // namespace heron
