#include "foundation/logger.h"

#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kDebug("debug"), kInfo("info"), kWarning("warning"), kError("error"), kException("exception");
const py::Name kRoot("_root"), kCall("_call"), kGetLogger("getLogger"), kThread("Thread");

// The class itself: its operations and its field are looked up by name, so that whoever replaces one is asked.
const py::Object* door = nullptr;

py::Object root() { return door->attr(kRoot); }

/// Marks the records of this thread as the engine's own: what it does must not fail for want of a record.
class OwnRecord {
 public:
  OwnRecord() : outer_(std::exchange(under_way, true)) {}
  ~OwnRecord() { under_way = outer_; }
  OwnRecord(const OwnRecord&) = delete;
  OwnRecord& operator=(const OwnRecord&) = delete;

  static inline thread_local bool under_way = false;

 private:
  const bool outer_;
};

/// Does what may fail without anybody's being told, as on a thread of its own.
template <class F>
void report_failure(const py::Object& of, F&& work) {
  try {
    work();
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    error.restore();
    PyErr_WriteUnraisable(of.get());
  }
}

/// Has the main thread ended? A thread that starts then may never run, and some runtimes wait for it for ever.
bool is_over() {
  static const py::Name kMainThread("main_thread"), kIsAlive("is_alive");
  return py::is_ending || !py::modules::threading.call(kMainThread).call(kIsAlive).truth();
}

py::Object make_thread(const py::Object& function, const py::Object& args, const py::Object& kwargs) {
  static const py::Name kTarget("target"), kArgs("args"), kKwargs("kwargs");
  py::Dict named;
  named.set(kTarget, function);
  named.set(kArgs, args);
  named.set(kKwargs, kwargs);
  return py::modules::threading.attr(kThread).apply(py::tuple({}), named);
}

/// Hands a record over on a thread of its own, so that logging never blocks the caller.
void call(const py::Object& function, const py::Object& args, const py::Object& kwargs) {
  static const py::Name kStart("start"), kRun("run");
  const auto run_here = [&] { report_failure(function, [&] { make_thread(function, args, kwargs).call(kRun); }); };
  if (is_over()) return run_here();
  const py::Object thread = make_thread(function, args, kwargs);
  try {
    thread.call(kStart);
  } catch (const py::Error& error) {
    if (!error.is_failure() || !OwnRecord::under_way) throw;
    run_here();
  }
}

void write(const py::Name& level, const py::Object& message, const py::Object& kwargs) {
  door->call(kCall, root().attr(level), py::tuple({message}), kwargs);
}

void debug(const py::Object& message, const py::Object& kwargs) { write(kDebug, message, kwargs); }
void info(const py::Object& message, const py::Object& kwargs) { write(kInfo, message, kwargs); }
void warning(const py::Object& message, const py::Object& kwargs) { write(kWarning, message, kwargs); }

void error(const py::Object& message, const py::Dict& kwargs) {
  static const py::Name kExcInfo("exc_info");
  kwargs.set(kExcInfo, py::to_python(false));  // the dict was made for this call
  write(kError, message, kwargs);
}

void exception(const py::Object& message, const py::Dict& kwargs) {
  static const py::Name kStrip("strip");
  static const py::Object* strip = new py::Object(
      py::Object::borrow(reinterpret_cast<PyObject*>(&PyUnicode_Type)).attr(kStrip));  // never a subclass's own
  const py::Object stripped = message.is_text() ? (*strip)(message, py::text("\n")) : message;
  door->attr(kError).apply(py::tuple({stripped}), kwargs);
}

/// Issues a record of the engine's own.
void issue(const py::Name& operation, const py::Object& message) {
  const OwnRecord own;
  report_failure(*door, [&] { door->call(operation, message); });
}

/// Class and words of an error.
py::Object described(const py::Error& error) {
  return format("{}: {}", {py::text(error.value().type_name()), printable(error.value())});
}

}  // namespace

namespace logger {
bool shows(Level level) {
  static const py::Name kIsEnabled("isEnabledFor");
  bool shown = false;
  report_failure(*door, [&] { shown = root().call(kIsEnabled, py::to_python(static_cast<int>(level))).truth(); });
  return shown;
}

void debug(const py::Object& message) { issue(kDebug, message); }
void info(const py::Object& message) { issue(kInfo, message); }
void warning(const py::Object& message) { issue(kWarning, message); }
void error(const py::Object& message) { issue(kError, message); }
void exception(const py::Object& message) { issue(kException, message); }

void caught(const py::Error& error) { exception(described(error)); }
}  // namespace logger

void expose_logger(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(
      module, "Logger",
      "The one door to the log: the runtime's root logger, with no handler, level or format of its own.\n\n"
      "Each record is handed over on a thread of its own, so that logging never blocks the caller; records may arrive "
      "in another order than they were issued. `message` may be any object; `kwargs` go to the logger.");
  const py::Parameters parameters = {"message", py::Parameter::keywords("kwargs")};
  door = new py::Object(scope.object());
  py::modules::threading.get();  // at the end of the program nothing can be imported any more
  scope.set("_root", py::modules::logging.call(kGetLogger));
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
