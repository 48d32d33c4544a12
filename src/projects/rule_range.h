#pragma once

#include "runtime/class.h"

namespace heron {

/// How many objects may match a rule at one place. The bounds are integers of any size, kept as they came.
class RuleRange {
 public:
  void init(const py::Object& least, const py::Object& most);

  bool equals(const py::Object& other) const;
  py::List data() const;  ///< The JSON form: both bounds.

  py::Object minimum = py::to_python(1);
  py::Object maximum = py::to_python(1);

  template <class V>
  void members(V& visit) {
    visit(minimum);
    visit(maximum);
  }
};

/// Puts `Range` into `Rule`.
void expose_rule_range(const py::Scope& rule);

}  // namespace heron
