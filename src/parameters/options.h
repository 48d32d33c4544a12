#pragma once

#include "parameters/group.h"

namespace heron {

/// The options of an exporter: a tree of inputs in groups, which hold the current values themselves. What differs from
/// the values at construction is stored.
class ParameterOptions {
 public:
  void init(const py::Object& attr_name, const py::Object& title, const py::Object& help, const py::Object& children);

  const py::Object& attr() const { return attr_; }
  const py::Object& label() const { return label_; }
  const py::Object& help_text() const { return help_text_; }
  py::Object iterate() const { return py::iterator(py::collect(contents)); }

  py::Dict data() const;  ///< The entries of the state that differ from the defaults.
  void reset() const { apply(defaults); }
  void load(const py::Object& data) const;  ///< What the data leave out returns to its default.
  py::Object clone() const;                 ///< With the same defaults and without the help.

  static bool is_group(const py::Object& node);
  static bool is_input(const py::Object& node);
  static bool is_switch(const py::Object& node);
  static bool is_integer(const py::Object& node);
  static bool is_float(const py::Object& node);
  static bool is_combobox(const py::Object& node);

  py::Dict find_parameters(const py::Object& parent) const;  ///< All inputs below a group, or of the whole tree.
  py::Dict get_state() const;                                ///< The bare values by the names of their inputs.
  void apply(const py::Object& data) const;                  ///< Loads bare values; those of floats are passed over.

  py::Object contents = py::tuple({});
  py::Dict parameters;  ///< All inputs of the tree by their names.
  py::Dict defaults;    ///< The state at construction.

  template <class V>
  void members(V& visit) {
    visit(attr_);
    visit(label_);
    visit(help_text_);
    visit(contents);
    visit(parameters);
    visit(defaults);
  }

 private:
  py::Object attr_, label_, help_text_;
};

void expose_options(const py::Scope& parameters);

}  // namespace heron
