#pragma once

#include "runtime/class.h"

namespace heron {

/// One set of values for the inputs of a block: a check runs once for each. Its inputs are private copies.
class ParameterTask {
 public:
  void init(const py::Object& prototypes, const py::Object& reports_info);

  py::Dict data() const;   ///< The JSON form: "as_info" and "state".
  py::Dict state() const;  ///< The data of each input by its name.
  py::Object iterate() const { return py::iterator(get_inputs().items()); }
  py::List get_inputs() const { return inputs.get(); }
  py::List get_build_exceptions() const { return build_exceptions.get(); }
  py::List get_load_exceptions() const { return load_exceptions.get(); }
  py::Dict get_table() const { return table.get(); }
  py::Ref<ParameterTask> clone() const;

  // What goes wrong in these two is kept and not raised: it comes to light when the check is run.
  void load(const py::Object& state) const;
  void build();
  void assert_no_errors() const;  ///< Raises the first error that was kept.

  py::Object as_info = py::to_python(false);  ///< A failed check is reported as information.
  py::Object number = py::to_python(0);       ///< Position in the block, from 1.
  py::Lazy<py::List> inputs, build_exceptions, load_exceptions;
  py::Lazy<py::Dict> table;  ///< The inputs by their names; empty if they could not be built.

  template <class V>
  void members(V& visit) {
    visit(as_info);
    visit(number);
    visit(inputs);
    visit(build_exceptions);
    visit(load_exceptions);
    visit(table);
  }

 private:
  /// A value that the input's constructor refuses, from stored data perhaps, fails here: kept like other errors.
  bool take_clones(const std::vector<py::Object>& prototypes);
  void enter(const py::Object& input) const;
};

/// Puts `Task` into `Parameters.Block`.
void expose_task(const py::Scope& block);

}  // namespace heron
