#pragma once

#include "checks/check_queue.h"
#include "checks/checklist.h"
#include "scene/buffer.h"

namespace heron {

/// The checklists that a front-end edits.
class Checklists {
 public:
  void init(const py::Object& api, const py::Object& classes);

  py::Ref<Checklist> workspace;  ///< That of the selection mode, bound to the stored configuration.
  py::Ref<Checklist> editor;     ///< For the editor of rules, bound to none.

  template <class V>
  void members(V& visit) {
    visit(workspace);
    visit(editor);
  }
};

/// Plans checks for what the mode of the settings says, runs them, and keeps their results until the next run.
class Validator {
 public:
  void init(const py::Object& api_, const Host& host_, const py::Object& classes,
            const py::RefOrNone<Hierarchy>& hierarchy_, const py::RefOrNone<Buffer>& buffer_);

  py::Object get_queue() const { return queue; }
  void start();

  void plan_checks(const py::Object& mode) const;
  void plan_selection_checks() const;
  void plan_project_checks() const;

  py::Object api;
  Host host;
  py::Ref<Hierarchy> hierarchy;
  py::Ref<Buffer> buffer;
  py::Object checklist;
  py::Object progress;  ///< Called with each result; none if nobody wants to know.
  py::Ref<CheckQueue> queue = py::Ref<CheckQueue>::make();

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(host);
    visit(hierarchy);
    visit(buffer);
    visit(checklist);
    visit(progress);
    visit(queue);
  }

 private:
  /// An object of the scene, and the checks of the rule that it matched.
  struct Verifiable {
    py::Object joint, checklist;
  };

  std::vector<Verifiable> find_verifiable() const;
  void add_scene_task(const py::List& controls) const;
  void plan_and_run() const;
  void run(const py::Object& task) const;

  bool running_ = false;
};

/// Puts `_Validator` into `Api`.
void expose_validator(const py::Scope& api);

}  // namespace heron
