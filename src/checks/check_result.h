#pragma once

#include "host/host.h"
#include "runtime/class.h"

namespace heron {

/// The outcome of a check on an object, with the check itself, which can then fix, select or explain it.
///
/// What the check raises is kept and logged, and shows in the status; only an interrupt or an exit passes.
class CheckResult {
 public:
  void init(const py::Object& object_path, const py::Object& type, const py::Object& task, const py::Object& records,
            const Host& host, bool single);

  py::Object name() const;
  py::Object could_be_fixed() const;
  py::Object could_be_selected() const;
  py::Object scene_oriented() const;
  const py::Object& get_status() const { return status; }

  void run();  ///< The check itself, then a record of it.
  void fix_result();
  void select_result();
  py::Object result_message();
  py::Object deep_copy(const py::Object& memo) const;  ///< With the same host, statistics and exceptions.

  py::Object get_failure() const { return told(error); }
  py::Object get_fix_failure() const { return told(fix_error); }
  py::Object get_select_failure() const { return told(select_error); }
  py::Object get_message_failure() const { return told(message_error); }

  Host op;
  py::Object check_class;
  py::Object statistics, check, path, task;
  py::Object status = py::Object::none();
  py::Object never_made;  ///< What kept the check from being made; none if it was.
  double seconds = 0;     ///< How long the last run took.
  /// What the last run, fix, selection and message raised; none where they did not, or were not asked for.
  py::Object error, fix_error, select_error, message_error;

  template <class V>
  void members(V& visit) {
    visit(op);
    for (py::Object* field : {&check_class, &statistics, &check, &path, &task, &status, &never_made, &error, &fix_error,
                              &select_error, &message_error}) {
      visit(*field);
    }
    visit(seconds);
  }

 private:
  void make_check(const py::Object& parameters, bool single);
  void judge();
  bool examine() const;  ///< False if the check has found something.
  py::Object finding();  ///< The status of a check that has found something.

  /// What `function` returns, or None if it fails; `failure` is then what it failed with, which is logged.
  template <class F>
  py::Object ask(const char* what, F&& function, py::Object& failure);
  void tell(const char* what, const py::Error& raised) const;  ///< Logs it, and what of which check it was.
  py::Object known_as() const;                                 ///< The id of the check, or its name.
  py::Object told(const py::Object& raised) const;             ///< An error in words; empty for none.
};

/// The results of one task.
class CheckResultList {
 public:
  void add(const py::Object& result) const { array.append(result); }
  py::Object iterate() const { return py::iterator(array.items()); }
  Py_ssize_t size() const { return array.size(); }

  py::List array;

  template <class V>
  void members(V& visit) {
    visit(array);
  }
};

/// Puts `Result` into `Check._Queue.Task`.
void expose_check_result(const py::Scope& task);

}  // namespace heron
