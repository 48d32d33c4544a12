#include "parameters/ranges.h"

#include "parameters/kinds.h"
#include "parameters/names.h"

namespace heron {
namespace {

/// A number of a document, where 2.0 may be written as 2. What is none stays, and so does one that is too large.
py::Object as_real(const py::Object& value) {
  if (PyLong_Check(value.or_none()) == 0 || PyBool_Check(value.or_none()) != 0) return value;
  const double real = PyLong_AsDouble(value.get());
  if (real != -1.0 || PyErr_Occurred() == nullptr) return py::to_python(real);
  PyErr_Clear();
  return value;
}

}  // namespace

py::Dict NumberRange::data() const {
  py::Dict data;
  data.set(names::kValue, value);
  return data;
}

void NumberRange::assign(const py::Object& min, const py::Object& max, const py::Object& by, const py::Object& number,
                         const py::Object& before, const py::Object& after) {
  kinds::text({{"prefix", before}, {"units", after}});
  minimum = min;
  maximum = max;
  step = by;
  value = number;
  prefix = before;
  units = after;
}

py::Ref<IntRange> IntRange::create(const py::Name& attr_name, const py::Object& value) {
  py::Dict named;
  if (value) named.set(names::kValue, value);
  const py::Object arguments = py::tuple({py::Object::borrow(attr_name.get())});
  return py::Ref<IntRange>(py::type_of<IntRange>().apply(arguments, named));
}

void IntRange::init(const py::Object& attr_name, const py::Object& min, const py::Object& max, const py::Object& by,
                    const py::Object& number, const py::Object& before, const py::Object& after,
                    const py::Object& label, const py::Object& help_text) {
  ParameterInput::init(attr_name, label, help_text);
  kinds::integer({{"minimum", min}, {"maximum", max}, {"step", by}, {"value", number}});
  assign(min, max, by, number, before, after);
}

void IntRange::load(const py::Object& data) { value = py::get(data, names::kValue, py::to_python(50)); }

py::Object IntRange::clone() const {
  return remade(*this, {attr(), minimum, maximum, step, value, prefix, units, label(), help_text()});
}

void FloatRange::init(const py::Object& attr_name, const py::Object& min, const py::Object& max, const py::Object& by,
                      const py::Object& digits, const py::Object& number, const py::Object& before,
                      const py::Object& after, const py::Object& label, const py::Object& help_text) {
  ParameterInput::init(attr_name, label, help_text);
  kinds::real({{"minimum", min}, {"maximum", max}, {"step", by}, {"value", number}});
  kinds::integer({{"precision", digits}});
  assign(min, max, by, number, before, after);
  precision = digits;
}

void FloatRange::load(const py::Object& data) { value = as_real(py::get(data, names::kValue, py::to_python(0.5))); }

py::Object FloatRange::clone() const {
  return remade(*this, {attr(), minimum, maximum, step, precision, value, prefix, units, label(), help_text()});
}

namespace {

template <class R>
py::Class<R, ParameterInput>& add_members(py::Class<R, ParameterInput>& range, const std::string& number) {
  return range.copies()
      .template field<&R::minimum>("minimum", (number + ": The least value that the widget offers.").c_str())
      .template field<&R::maximum>("maximum", (number + ": The greatest value that the widget offers.").c_str())
      .template field<&R::step>("step", (number + ": The step of the widget.").c_str())
      .template field<&R::value>("value", (number + ": The value, kept as it comes.").c_str())
      .template readonly<&R::prefix>("prefix", "str: What the widget shows before the number.")
      .template readonly<&R::units>("units", "str: What the widget shows after the number.")
      .template accessor<&R::data>("data", "dict[str, Any]: The JSON form, a new dict of \"value\".")
      .template operation<&R::clone>("clone", "A new range with the same fields and value, checked anew.");
}

}  // namespace

void expose_ranges(const py::Scope& parameters) {
  py::Class<IntRange, ParameterInput> integers(
      parameters, "IntRange",
      "An integer within limits, which are hints for the widget: no value is held to them.\n\n"
      "TypeError for a number that is not an int, and for a text that is not a str.");
  integers.init<&IntRange::init>({"attr_name",
                                  {"minimum", 0},
                                  {"maximum", 100},
                                  {"step", 1},
                                  {"value", 50},
                                  {"prefix", ""},
                                  {"units", ""},
                                  {"label", ""},
                                  {"help_text", ""}});
  add_members(integers, "int")
      .operation<&IntRange::load>("load", {"data"},
                                  "Takes \"value\" as it comes; 50, whatever was declared, where there is none.\n\n"
                                  "AttributeError unless the data are a mapping.")
      .done();

  py::Class<FloatRange, ParameterInput> reals(
      parameters, "FloatRange",
      "A floating-point number within limits, which are hints for the widget: no value is held to them.\n\n"
      "Args:\n"
      "    precision: Digits after the point.\n\n"
      "TypeError for a number that is not a float, a precision that is not an int, and for a text that is "
      "none.");
  reals.init<&FloatRange::init>({"attr_name",
                                 {"minimum", 0.0},
                                 {"maximum", 1.0},
                                 {"step", 0.05},
                                 {"precision", 2},
                                 {"value", 0.5},
                                 {"prefix", ""},
                                 {"units", ""},
                                 {"label", ""},
                                 {"help_text", ""}});
  add_members(reals, "float")
      .field<&FloatRange::precision>("precision", "int: How many digits after the point the widget shows.")
      .operation<&FloatRange::load>("load", {"data"},
                                    "Takes \"value\" as it comes, an integer as a float; 0.5, whatever was declared, "
                                    "where there is none.\n\n"
                                    "AttributeError unless the data are a mapping.")
      .done();
}

}  // namespace heron
