#include "application/validator.h"

#include "checks/check_result.h"
#include "foundation/clock.h"
#include "foundation/constants.h"
#include "parameters/block.h"
#include "runtime/exactly.h"
#include "runtime/finally.h"
#include "runtime/garbage_collector.h"
#include "server/statistics_records.h"

namespace heron {
namespace {

const py::Name kSettings("settings"), kStatistics("statistics"), kCheck("check"), kMode("mode"), kPresets("presets");
const py::Name kConfig("config"), kWorkspace("workspace"), kProject("project"), kGet("get"), kGetJoints("get_joints");
const py::Name kChecked("checked"), kIsGhost("is_ghost"), kPath("path"), kStamp("stamp"), kIcon("icon");
const py::Name kClassId("class_id"), kCheckControls("check_controls"), kParameters("parameters"), kResults("results");
const py::Name kLength("length"), kAdd("add"), kWrite("write");

bool is_mode(const py::Object& mode, CheckMode wanted) { return mode.equals(constants::number(wanted)); }

/// What a control has to run.
struct Work {
  py::Object check;
  std::vector<py::Object> parameter_tasks;
  bool single;
};

Work work_of(const py::Object& control) {
  const auto ours = py::exactly<CheckControl>(control);
  const py::Object parameters = ours ? ours->parameters : control.attr(kParameters);
  const py::Object check = ours ? ours->check : control.attr(kCheck);
  if (const auto block = py::exactly<ParameterBlock>(parameters)) {
    return {check, block->tasks.items(), block->length() < 2};
  }
  const bool single = parameters.attr(kLength).is_less(py::to_python(2));
  return {check, py::collect(parameters), single};
}

void add(const py::Object& results, const py::Object& result) {
  if (const auto ours = py::exactly<CheckResultList>(results, kAdd)) {
    ours->add(result);
  } else {
    results.call(kAdd, result);
  }
}

/// The enabled controls of a checklist: those that look at the scene as a whole, or those that look at one object.
py::List controls_of(const py::Object& checklist, bool scene_oriented) {
  return py::List(checklist.call(kGet, py::to_python(true), py::to_python(scene_oriented)));
}

}  // namespace

void Checklists::init(const py::Object& api, const py::Object& classes) {
  const py::Object stored = api.attr(kSettings).attr(kCheck);
  workspace = py::made<Checklist>(classes, stored.attr(kPresets), stored.attr(kConfig));
  editor = py::made<Checklist>(classes, stored.attr(kPresets), py::Object::none());
}

void Validator::init(const py::Object& api_, const Host& host_, const py::Object& classes,
                     const py::RefOrNone<Hierarchy>& hierarchy_, const py::RefOrNone<Buffer>& buffer_) {
  api = api_;
  host = host_;
  hierarchy = hierarchy_;
  buffer = buffer_;
  const auto checklists = py::Ref<Checklists>::make();
  checklists->init(api, classes);
  checklist = checklists;
  queue = py::Ref<CheckQueue>::make();
}

// A check that starts a validation would start the check again, and so on.
void Validator::start() {
  const auto self = py::Ref<Validator>::of(*this);  // what runs may let go of it
  if (running_) py::raise(PyExc_RuntimeError, "a validation is already running");
  running_ = true;
  py::finally([&] { plan_and_run(); }, [&] { running_ = false; });
}

void Validator::plan_and_run() const {
  const py::Object timestamp = clock::now();
  const py::Object settings = api.attr(kSettings), statistics = api.attr(kStatistics);
  const py::Object mode = settings.attr(kCheck).attr(kMode);
  plan_checks(mode);
  const auto planned = queue;
  if (planned->is_empty()) return;
  host.keep_selection([&] {
    const py::GarbageCollectorSlowdown slowdown;
    // Followed as it stands: whoever clears it ends the run, and what is added is run.
    for (Py_ssize_t next = 0; next < planned->tasks.size(); ++next) run(planned->tasks.at(next));
  });
  const py::Object project =
      is_mode(mode, CheckMode::kProject) ? settings.attr(kWorkspace).attr(kProject) : py::Object::none();
  statistics.call(kAdd, py::made<ValidationRecord>(timestamp, clock::since(timestamp), project));
  statistics.call(kWrite);
}

// Making a result runs its check.
void Validator::run(const py::Object& task) const {
  const py::Object statistics = api.attr(kStatistics), path = task.attr(kPath), results = task.attr(kResults);
  for (const py::Object& control : py::collect(task.attr(kCheckControls))) {
    const auto [check, parameter_tasks, single] = work_of(control);
    for (const py::Object& parameter_task : parameter_tasks) {
      const auto result = py::made<CheckResult>(path, check, parameter_task, statistics, host, single);
      add(results, result);
      if (const py::Object told = progress; !told.is_none()) told(result);
    }
  }
}

void Validator::plan_checks(const py::Object& mode) const {
  const auto planned = queue;
  planned->clear();
  if (is_mode(mode, CheckMode::kProject)) {
    plan_project_checks();
  } else if (is_mode(mode, CheckMode::kSelection)) {
    plan_selection_checks();
  }
}

void Validator::plan_selection_checks() const {
  const py::Object workspace = checklist.attr(kWorkspace);
  add_scene_task(controls_of(workspace, true));
  const py::List controls = controls_of(workspace, false);
  if (controls.empty()) return;
  for (const py::Object& path : host.selection().items()) {
    queue->add(py::made<CheckTask>(path, controls, py::Object::none(), py::Object::none()));
  }
}

void Validator::plan_project_checks() const {
  const std::vector<Verifiable> verifiable = find_verifiable();
  // A check of the whole scene runs once, however many rules enable it: as the first of them says.
  const py::Set planned;
  const py::List scene_controls;
  for (const Verifiable& object : verifiable) {
    for (const py::Object& control : controls_of(object.checklist, true).items()) {
      const py::Object class_id = control.attr(kCheck).attr(kClassId);
      if (planned.contains(class_id)) continue;
      scene_controls.append(control);
      planned.add(class_id);
    }
  }
  add_scene_task(scene_controls);
  for (const Verifiable& object : verifiable) {
    const py::List controls = controls_of(object.checklist, false);
    if (controls.empty()) continue;
    queue->add(py::made<CheckTask>(object.joint.attr(kPath), controls, py::Object::none(), object.joint.attr(kIcon)));
  }
}

std::vector<Validator::Verifiable> Validator::find_verifiable() const {
  const py::Ref<Pattern> pattern = hierarchy->pattern;
  std::vector<Verifiable> found;
  for (const py::Object& bucket : buffer->get().items()) {
    if (!bucket.attr(kChecked).truth()) continue;
    for (const py::Object& joint : py::collect(bucket.call(kGetJoints))) {
      if (joint.call(kIsGhost).truth()) continue;  // stands for a group of roots, and is no object
      if (!host.exists(joint.attr(kPath))) continue;
      const py::Object stamp = joint.attr(kStamp);
      if (!pattern->is_verifiable(stamp)) continue;
      found.push_back({joint, pattern->get_checklist(stamp)});
    }
  }
  return found;
}

void Validator::add_scene_task(const py::List& controls) const {
  if (controls.empty()) return;
  queue->add(py::made<CheckTask>(host.current_file(), controls, py::text("The Entire Scene"), py::Object::none()));
}

void expose_validator(const py::Scope& api) {
  const py::Scope scope =
      py::Class<Validator>(
          api, "_Validator",
          "Api component to handle validation process.\n\n"
          "Runs the enabled checks of the workspace over the selection, or those of the rules over the matched "
          "hierarchies, as the mode of the settings says, and keeps the results until the next run.")
          .no_copies("it belongs to an Api")
          .init<&Validator::init>({"api", "operator", "classes", "hierarchy", "buffer"})
          .operation<&Validator::start>(
              "start",
              "Plans the checks and runs them all; the results are in `queue`.\n\n"
              "The selection of the host stays as it is; a record of this run and one of each run of a check go to the "
              "statistics, which are written. With nothing to check nothing is recorded. The run follows `queue`: to "
              "cancel it, clear the queue, from a check, the host or `progress`; the run ends after the task under "
              "way, "
              "and tasks that are added are run. A check that fails stops "
              "nothing: its result says so. Exceptions of the host pass; RuntimeError within a validation.")
          .operation<&Validator::plan_checks>("_plan_checks", {"mode"},
                                              "Empties the queue and fills it as `mode`, one of "
                                              "`Constants.Check.Mode`, says. Any other mode plans nothing.")
          .operation<&Validator::plan_selection_checks>(
              "_plan_selection_checks",
              "Appends a task for the scene and one for each selected object, with the checks of the workspace.")
          .operation<&Validator::plan_project_checks>(
              "_plan_project_checks",
              "Appends a task for the scene and one for each matched object, with the checks of its rule.\n\n"
              "Objects that are gone, unchecked hierarchies and rules without enabled checks are left out.")
          .accessor<&Validator::get_queue>("queue", "Check._Queue: The tasks of the last run with their results.")
          .field<&Validator::progress>("progress",
                                       "Callable[[Check._Queue.Task.Result], object] | None: Called with the result of "
                                       "each check when it has run. What it raises ends the run.")
          .field<&Validator::checklist>("checklist",
                                        "Api._Validator._CheckList: The two checklists, `workspace` and `editor`.")
          .readonly<&Validator::api>("_api", "Api: What the component belongs to.")
          .readonly<&Validator::host>("_op", "Scene.Operator: The host.")
          .readonly<&Validator::hierarchy>("_hierarchy",
                                           "_Hierarchy: The matcher, whose pattern knows the rules' checks.")
          .readonly<&Validator::buffer>("_buffer", "Scene._Buffer: The matched hierarchies.")
          .readonly<&Validator::queue>("_queue", "Check._Queue: The tasks of the last run with their results.")
          .done();

  py::Class<Checklists>(scope, "_CheckList",
                        "The checklists that a front-end edits.\n\n"
                        "Args:\n"
                        "    api: Gives the settings.\n"
                        "    classes: The known check classes.")
      .no_copies("it belongs to an Api")
      .init<&Checklists::init>({"api", "classes"})
      .field<&Checklists::workspace>("workspace",
                                     "Check._List: The checks of the selection mode, bound to the user's settings.")
      .field<&Checklists::editor>("editor",
                                  "Check._List: The checks that the editor of rules shows, bound to no settings.")
      .done();
}

}  // namespace heron
