#pragma once

#include "runtime/class.h"

namespace heron {

/// What check plug-ins derive from: looks at one scene object and reports what is wrong with it.
///
/// The attributes that describe a check are plain attributes of the class, which a plug-in overrides by its own.
class CheckBase {
 public:
  static py::Object parameters();  ///< A new block without inputs.

  void check(const py::Object& path, const py::Object& task) const;  ///< NotImplementedError.
  void fix_result(const py::Object&, const py::Object&) const {}
  void select_result() const {}
  py::Object result_message() const { return py::text(""); }
};

// What check classes are told apart and grouped by, as texts that compare alike.
py::Object check_class_id(const py::Object& type);
py::Object check_category(const py::Object& type);  ///< In lower case.

void expose_check_base(const py::Scope& check);

}  // namespace heron
