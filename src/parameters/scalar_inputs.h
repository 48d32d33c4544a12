#pragma once

#include "parameters/combo_box.h"
#include "parameters/ranges.h"

namespace heron {

/// A regular expression as text. What it means is up to the check that applies it.
class RegEx : public ParameterInput {
 public:
  void init(const py::Object& attr_name, const py::Object& expression, const py::Object& label,
            const py::Object& help_text);

  bool equals(const py::Object& other) const;  ///< With another one or with a text, by the text.
  py::Dict data() const;                       ///< "text".
  void load(const py::Object& data);           ///< Where the data hold no text it is ".+", whatever was declared.
  py::Object clone() const;

  py::Object text;

  template <class V>
  void members(V& visit) {
    ParameterInput::members(visit);
    visit(text);
  }
};

/// On or off.
class Switch : public ParameterInput {
 public:
  void init(const py::Object& attr_name, const py::Object& is_on, const py::Object& label, const py::Object& help_text);

  py::Dict data() const;              ///< "enabled".
  void load(const py::Object& data);  ///< Off where the data do not say.
  py::Object clone() const;

  py::Object enabled;

  template <class V>
  void members(V& visit) {
    ParameterInput::members(visit);
    visit(enabled);
  }
};

/// Puts the inputs of a single value into `Parameters`.
void expose_scalar_inputs(const py::Scope& parameters);

}  // namespace heron
