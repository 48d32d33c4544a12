#pragma once

#include "parameters/input.h"

namespace heron {

/// Inputs, and further groups, which a front-end shows together.
class ParameterGroup {
 public:
  void init(const py::Object& title, const py::Object& children, const py::Object& shows_by);

  py::Object iterate() const { return py::iterator(py::collect(contents)); }
  py::Object clone() const;

  py::Object label = py::text("");
  py::Object contents = py::tuple({});
  py::Object visibility_switch;  ///< Of the front-end only.

  template <class V>
  void members(V& visit) {
    visit(label);
    visit(contents);
    visit(visibility_switch);
  }
};

/// Contents as they are kept: a sequence as it comes, whatever else can be walked over as a tuple.
py::Object kept_contents(const py::Object& children);

void expose_group(const py::Scope& parameters);

}  // namespace heron
