#include "checks/check_result.h"

#include "checks/check_base.h"
#include "checks/named_buffer.h"
#include "foundation/clock.h"
#include "foundation/constants.h"
#include "foundation/errors.h"
#include "foundation/failure.h"
#include "foundation/logger.h"
#include "foundation/safe_access.h"
#include "foundation/text.h"
#include "parameters/task.h"
#include "runtime/exactly.h"
#include "server/statistics.h"
#include "server/statistics_records.h"

namespace heron {
namespace {

const py::Name kLongName("long_name"), kSceneOriented("scene_oriented"), kResult("result");
const py::Name kCouldBeFixed("could_be_fixed"), kCouldBeSelected("could_be_selected"), kAdd("add");

/// The statuses as they stand in results, each one object for all.
struct Statuses {
  py::Object pass = made(constants::kPass), info = made(constants::kInfo);
  py::Object fail = made(constants::kFail), error = made(constants::kError);

 private:
  static py::Object made(std::string_view status) { return to_str(py::text(status)); }
};

const Statuses& statuses() {
  static const auto* all = new Statuses;
  return *all;
}

/// Makes a new check ready to run, named after the number of its task if it is one of several.
void prepare(const py::Object& check, const py::Object& task, bool single) {
  static const py::Name kNumber("number");
  if (!single) {
    check.set_attr(kLongName, format("{} (Task {:02d})", {check.attr(kLongName), task.attr(kNumber)}));
  }
  check.set_attr(kResult, py::Ref<NamedBuffer>::make());
}

/// The base of all checks under the name of a class of which there is no instance to be had.
py::Object stand_in_for(const py::Object& type) {
  auto stand_in = py::Ref<CheckBase>::make();
  for (const py::Name* name : {&kLongName, &kSceneOriented})
    stand_in.set_attr(*name, safe_access::attribute(type, *name));
  return stand_in;
}

/// Raises an error that is kept, which goes on telling where it came from.
[[noreturn]] void raise_again(const py::Object& error) {
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.get())), error.get());
  throw py::Error();
}

/// A copy of the parameters. Where a plug-in's own input makes that fail, an empty task stands in that tells so when
/// the check is run.
py::Object cloned(const py::Object& parameters) {
  static const py::Name kClone("clone");
  try {
    if (const auto ours = py::exactly<ParameterTask>(parameters, kClone)) return ours->clone();
    return parameters.call(kClone);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    auto stand_in = py::Ref<ParameterTask>::make();
    stand_in->get_build_exceptions().append(error.value());
    return stand_in;
  }
}

void assert_no_errors(const py::Object& task) {
  static const py::Name kAssertNoErrors("assert_no_errors");
  if (const auto ours = py::exactly<ParameterTask>(task, kAssertNoErrors)) {
    ours->assert_no_errors();
  } else {
    task.call(kAssertNoErrors);
  }
}

void clear(const py::Object& findings) {
  static const py::Name kClear("clear");
  if (const auto ours = py::exactly<NamedBuffer>(findings, kClear)) {
    ours->clear();
  } else {
    findings.call(kClear);
  }
}

/// Runs a check; false if it raises that it has found something. A C++ exception for that would cost more than the
/// check itself.
bool passes(const py::Object& check, const py::Object& path, const py::Object& task) {
  static const py::Name kCheck("check");
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the check may replace what its result holds
  const py::Object held = check, first = path, second = task;
  PyObject* const returned =
      PyObject_CallMethodObjArgs(held.get(), kCheck.get(), first.or_none(), second.or_none(), nullptr);
  if (returned == nullptr && errors::is_pending<errors::ValidationError>()) {
    PyErr_Clear();
    return false;
  }
  py::Object::steal(returned);
  return true;
}

}  // namespace

void CheckResult::init(const py::Object& object_path, const py::Object& type, const py::Object& parameters,
                       const py::Object& records, const Host& host, bool single) {
  op = host;
  statistics = records;
  check_class = type;
  make_check(parameters, single);
  path = object_path;
  task = cloned(parameters);
  run();
}

py::Object CheckResult::name() const { return check.attr(kLongName); }
py::Object CheckResult::could_be_fixed() const { return check.attr(kCouldBeFixed); }
py::Object CheckResult::could_be_selected() const { return check.attr(kCouldBeSelected); }
py::Object CheckResult::scene_oriented() const { return check.attr(kSceneOriented); }

void CheckResult::run() {
  status = statuses().pass;
  const py::Object timestamp = clock::now();
  judge();
  const py::Object speed = clock::since(timestamp);
  seconds = py::From<double>::from(speed.get());
  const py::Object long_name = safe_access::call([&] { return name(); });
  if (const auto ours = py::exactly<Statistics>(statistics, kAdd)) {
    static const auto* const kCategory = new py::Object(py::text(CheckRecord::kKey));
    CheckRecord record;
    record.init(timestamp, speed, long_name, status);
    ours->keep(*kCategory, record.data());
  } else {
    statistics.call(kAdd, py::made<CheckRecord>(timestamp, speed, long_name, status));
  }
}

// A run over many objects goes on where there is no instance to be had: each run of the check then fails as that did.
void CheckResult::make_check(const py::Object& parameters, bool single) {
  never_made = py::Object();
  try {
    check = check_class();
    prepare(check, parameters, single);
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    never_made = kept(error);
    check = stand_in_for(check_class);
    prepare(check, parameters, single);
  }
}

void CheckResult::judge() {
  error = py::Object();
  try {
    if (never_made) raise_again(never_made);
    if (!examine()) status = finding();
  } catch (const py::Error& raised) {
    if (errors::is<errors::ValidationError>(raised)) {
      status = finding();
      return;
    }
    status = statuses().error;  // of a check that was interrupted, too: it has not passed
    error = kept(raised);
    if (!raised.is_failure()) throw;
    tell("check", raised);
  }
}

void CheckResult::tell(const char* what, const py::Error& raised) const {
  logger::caught(raised);
  failure::log(format("{} {}", {py::text(what), known_as()}), raised, failure::file_of(check_class));
}

py::Object CheckResult::known_as() const {
  try {
    if (py::Object id = check_class_id(check_class); id.is_text()) return id;
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
  }
  return failure::name_of(check_class);
}

py::Object CheckResult::told(const py::Object& raised) const {
  return raised ? failure::told(raised, failure::file_of(check_class)) : py::text("");
}

template <class F>
py::Object CheckResult::ask(const char* what, F&& function, py::Object& failure) {
  failure = py::Object();
  try {
    return function();
  } catch (const py::Error& raised) {
    if (!raised.is_failure()) throw;
    tell(what, raised);
    failure = kept(raised);
    return py::Object::none();
  }
}

bool CheckResult::examine() const {
  const py::Object no = py::to_python(false);
  assert_no_errors(task);
  check.set_attr(kCouldBeFixed, no);
  check.set_attr(kCouldBeSelected, no);
  clear(check.attr(kResult));
  return passes(check, path, task);
}

py::Object CheckResult::finding() {
  static const py::Name kAsInfo("as_info");
  const py::Object as_info = safe_access::call([&] { return py::to_python(task.attr(kAsInfo).truth()); }, error);
  if (as_info.is_none()) return statuses().error;  // the check has put something there that cannot tell
  return as_info.truth() ? statuses().info : statuses().fail;
}

void CheckResult::fix_result() {
  static const py::Name kFixResult("fix_result");
  op.keep_selection([&] {
    ask("fix of check", [&] { return check.call(kFixResult, path, task); }, fix_error);
    run();
  });
}

void CheckResult::select_result() {
  static const py::Name kSelectResult("select_result");
  ask("selection of check", [&] { return check.call(kSelectResult); }, select_error);
}

py::Object CheckResult::result_message() {
  static const py::Name kResultMessage("result_message");
  py::Object message = ask("message of check", [&] { return check.call(kResultMessage); }, message_error);
  return message.is_text() ? message : py::text("");
}

py::Object CheckResult::deep_copy(const py::Object& memo) const {
  return py::deep_copy(py::object_of(*this), memo,
                       {op, statistics, never_made, error, fix_error, select_error, message_error});
}

void expose_check_result(const py::Scope& task) {
  const py::Scope scope =
      py::Class<CheckResult>(
          task, "Result",
          "The outcome of a check on an object, with the check itself, which can then fix, select or explain it.\n\n"
          "Args:\n"
          "    path, parameter_task: What the check gets; the task is copied first.\n"
          "    check_class: Makes the check, one for each result. If it fails to, the result is an error.\n"
          "    statistics: Its `add` gets a record of each run.\n"
          "    operator: The host, whose `selection_manager` is around a fix.\n"
          "    single: False if the check runs with several tasks: the name then ends in the task's number.\n\n"
          "The check runs at once. What it raises, now or later, is kept and logged and goes no further, unless it "
          "is an interrupt or an exit. The exceptions that are kept show where they came from, without the variables "
          "of the functions; `failure` and its like say it in words, as the log does at level info.")
          .copies()
          .init<&CheckResult::init>(
              {"path", "check_class", "parameter_task", "statistics", "operator", {"single", true}})
          .accessor<&CheckResult::name>("name", "str: The check's `long_name`.")
          .accessor<&CheckResult::get_status>("status", "str: The last outcome, one of `Constants.Check.Result`.")
          .readonly<&CheckResult::error>("error", "BaseException | None: What made the last run an error.")
          .readonly<&CheckResult::fix_error>("fix_error", "Exception | None: What the last `fix_result` raised.")
          .readonly<&CheckResult::select_error>("select_error",
                                                "Exception | None: What the last `select_result` raised.")
          .readonly<&CheckResult::message_error>("message_error",
                                                 "Exception | None: What the last `result_message` raised.")
          .accessor<&CheckResult::get_failure>(
              "failure",
              "str: What made the last run an error, in one line: its class, the deepest line of the check's own file "
              "that it came from, its words, and for a refused value the input and what it must be. Empty if nothing "
              "did.")
          .accessor<&CheckResult::get_fix_failure>("fix_failure", "str: The same of `fix_error`.")
          .accessor<&CheckResult::get_select_failure>("select_failure", "str: The same of `select_error`.")
          .accessor<&CheckResult::get_message_failure>("message_failure", "str: The same of `message_error`.")
          .readonly<&CheckResult::seconds>("seconds", "float: How many seconds the last run took.")
          .accessor<&CheckResult::could_be_fixed>("could_be_fixed", "bool: Whether `fix_result` can help.")
          .accessor<&CheckResult::could_be_selected>("could_be_selected", "bool: Whether `select_result` can help.")
          .accessor<&CheckResult::scene_oriented>("scene_oriented",
                                                  "bool: Whether the check looks at the scene as a whole.")
          .operation<&CheckResult::run>(
              "check",
              "Runs the check again.\n\n"
              "It passes if the check returns, fails if it raises Error.ValidationError (or is only information, if "
              "its parameters say so), and is an error if it raises anything else or its parameters are wrong.")
          .operation<&CheckResult::fix_result>(
              "fix_result", "Has the check repair what it found, and runs it again; the selection stays as it was.")
          .operation<&CheckResult::select_result>("select_result", "Has the check select what it found.")
          .operation<&CheckResult::result_message>("result_message",
                                                   "What the check says of its last run; empty if that is no text.")
          .operation<&CheckResult::deep_copy>("__deepcopy__", {"memo"},
                                              "A deep copy, which has the same host, statistics and exceptions.")
          .readonly<&CheckResult::op>("_op", "Any: The host.")
          .readonly<&CheckResult::statistics>("_statistics", "Any: What gets a record of each run.")
          .readonly<&CheckResult::check>("_check", "Check.Base: The check.")
          .readonly<&CheckResult::path>("_path", "str: The object's path.")
          .readonly<&CheckResult::task>("_param", "Any: The parameters, a copy.")
          .readonly<&CheckResult::status>("_status", "str: The last outcome.")
          .done();

  py::Class<CheckResultList>(scope, "List", "The results of one task. A loop gives them, in order.")
      .copies()
      .iterate<&CheckResultList::iterate>()
      .length<&CheckResultList::size>()
      .operation<&CheckResultList::add>("add", {"result"}, "Appends a result.")
      .readonly<&CheckResultList::array>("_array", "list[Check._Queue.Task.Result]: The results in order.")
      .done();
}

}  // namespace heron
