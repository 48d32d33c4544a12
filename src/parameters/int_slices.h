#pragma once

#include "parameters/list_input.h"
#include "parameters/ranges.h"

namespace heron {

/// Two integers, from and to, each with limits for its widget.
class IntSlice {
 public:
  void init(const py::Object& from, const py::Object& to);

  py::Dict data() const;  ///< "start" and "stop", the data of each.
  void load(const py::Object& data) const;
  py::Object clone() const;

  py::Object start, stop;

  template <class V>
  void members(V& visit) {
    visit(start);
    visit(stop);
  }
};

/// What the widget of a range shows, without its value.
class IntRangeSpec {
 public:
  static py::Ref<IntRangeSpec> create(const py::Object& int_range);

  void init(const py::Ref<IntRange>& int_range);
  void apply(IntRange& int_range) const;  ///< Empty texts leave those of the range.

  py::Object prefix, units, minimum, maximum, step;

  template <class V>
  void members(V& visit) {
    visit(prefix);
    visit(units);
    visit(minimum);
    visit(maximum);
    visit(step);
  }
};

/// A list of slices with the same limits.
class IntSliceList : public ListInput {
 public:
  void init(const py::Object& attr_name, const py::Object& default_slice, const py::Object& items,
            const py::Object& help_text);

  void load(const py::Object& data) const;
  py::Ref<IntSlice> add() const;
  py::Object clone() const;  ///< Without the help.
  void build(const py::Object& items) const;
  static void apply_spec(const py::Ref<IntRange>& int_range, const py::Ref<IntRangeSpec>& spec);

  py::Ref<IntSlice> model;  ///< Called the default from outside.
  py::Ref<IntRangeSpec> spec_start, spec_stop;
  py::Object default_start, default_stop;  ///< Its values at construction.

  template <class V>
  void members(V& visit) {
    ListInput::members(visit);
    visit(model);
    visit(spec_start);
    visit(spec_stop);
    visit(default_start);
    visit(default_stop);
  }

 private:
  void apply_specs(const py::Ref<IntSlice>& slice) const;
};

/// Puts the list and its elements into `Parameters`.
void expose_int_slices(const py::Scope& parameters);

}  // namespace heron
