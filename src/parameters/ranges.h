#pragma once

#include "parameters/input.h"

namespace heron {

/// A number within limits. The limits are hints for the widget: no value is held to them.
class NumberRange : public ParameterInput {
 public:
  py::Dict data() const;  ///< "value".

  py::Object minimum, maximum, step, value;
  py::Object prefix, units;

  template <class V>
  void members(V& visit) {
    ParameterInput::members(visit);
    visit(minimum);
    visit(maximum);
    visit(step);
    visit(value);
    visit(prefix);
    visit(units);
  }

 protected:
  /// Fills the fields once the numbers are tested. TypeError for a prefix or units that are no text.
  void assign(const py::Object& min, const py::Object& max, const py::Object& by, const py::Object& number,
              const py::Object& before, const py::Object& after);
};

/// An integer within limits.
class IntRange : public NumberRange {
 public:
  /// A range of this name with the defaults of the constructor.
  /// With the value, or the default one for none.
  static py::Ref<IntRange> create(const py::Name& attr_name, const py::Object& value = {});

  /// TypeError for numbers that are no integers and texts that are none.
  void init(const py::Object& attr_name, const py::Object& min, const py::Object& max, const py::Object& by,
            const py::Object& number, const py::Object& before, const py::Object& after, const py::Object& label,
            const py::Object& help_text);
  void load(const py::Object& data);  ///< Where the data hold no value it is 50, whatever was declared.
  py::Object clone() const;
};

/// A floating-point number within limits.
class FloatRange : public NumberRange {
 public:
  /// TypeError for numbers that are no floating-point numbers, a precision that is not an int and texts that are none.
  void init(const py::Object& attr_name, const py::Object& min, const py::Object& max, const py::Object& by,
            const py::Object& digits, const py::Object& number, const py::Object& before, const py::Object& after,
            const py::Object& label, const py::Object& help_text);
  void load(const py::Object& data);  ///< Where the data hold no value it is 0.5, whatever was declared.
  py::Object clone() const;

  py::Object precision;

  template <class V>
  void members(V& visit) {
    NumberRange::members(visit);
    visit(precision);
  }
};

void expose_ranges(const py::Scope& parameters);

}  // namespace heron
