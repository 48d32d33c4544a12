#include "parameters/int_slices.h"

#include "parameters/names.h"

namespace heron {
namespace {

/// A slice whose ranges have the defaults of their class.
py::Ref<IntSlice> plain_slice() {
  return py::made<IntSlice>(IntRange::create(names::kStart), IntRange::create(names::kStop));
}

}  // namespace

void IntSlice::init(const py::Object& from, const py::Object& to) {
  kinds::instance<IntRange>({"start", from});
  kinds::instance<IntRange>({"stop", to});
  start = from;
  stop = to;
}

py::Dict IntSlice::data() const {
  py::Dict data;
  data.set(names::kStart, start.attr(names::kData));
  data.set(names::kStop, stop.attr(names::kData));
  return data;
}

void IntSlice::load(const py::Object& data) const {
  start.call(names::kLoad, py::get(data, names::kStart, py::Dict()));
  stop.call(names::kLoad, py::get(data, names::kStop, py::Dict()));
}

py::Object IntSlice::clone() const { return remade(*this, {start.call(names::kClone), stop.call(names::kClone)}); }

py::Ref<IntRangeSpec> IntRangeSpec::create(const py::Object& int_range) {
  auto spec = py::Ref<IntRangeSpec>::make();
  spec->init(py::Ref<IntRange>(int_range));
  return spec;
}

void IntRangeSpec::init(const py::Ref<IntRange>& int_range) {
  prefix = int_range->prefix;
  units = int_range->units;
  minimum = int_range->minimum;
  maximum = int_range->maximum;
  step = int_range->step;
}

void IntRangeSpec::apply(IntRange& int_range) const {
  int_range.minimum = minimum;
  int_range.maximum = maximum;
  int_range.step = step;
  if (prefix.truth()) int_range.prefix = prefix;
  if (units.truth()) int_range.units = units;
}

void IntSliceList::init(const py::Object& attr_name, const py::Object& default_slice, const py::Object& items,
                        const py::Object& help_text) {
  kinds::instance<IntSlice>({"default", default_slice});
  ParameterInput::init(attr_name, py::text(""), help_text);
  model = py::Ref<IntSlice>(default_slice);
  spec_start = IntRangeSpec::create(model->start);
  spec_stop = IntRangeSpec::create(model->stop);
  default_start = model->start.attr(names::kValue);
  default_stop = model->stop.attr(names::kValue);
  build(items);
}

void IntSliceList::load(const py::Object& data) const {
  const py::List slices;
  for (const py::Object& item : py::collect(data)) {
    const auto slice = plain_slice();
    slice->load(item);
    slices.append(slice);
  }
  build(slices);
}

py::Ref<IntSlice> IntSliceList::add() const {
  auto slice =
      py::made<IntSlice>(IntRange::create(names::kStart, default_start), IntRange::create(names::kStop, default_stop));
  apply_specs(slice);
  array.append(slice);
  return slice;
}

py::Object IntSliceList::clone() const { return remade(*this, {attr(), model, clones(array.items())}); }

void IntSliceList::build(const py::Object& items) const {
  fill<IntSlice>(items, [this](const py::Ref<IntSlice>& slice) { apply_specs(slice); });
}

void IntSliceList::apply_specs(const py::Ref<IntSlice>& slice) const {
  apply_spec(py::Ref<IntRange>(slice->start), spec_start);
  apply_spec(py::Ref<IntRange>(slice->stop), spec_stop);
}

void IntSliceList::apply_spec(const py::Ref<IntRange>& int_range, const py::Ref<IntRangeSpec>& spec) {
  spec->apply(*int_range);
}

void expose_int_slices(const py::Scope& parameters) {
  py::Class<IntSlice>(parameters, "IntSlice",
                      "Two integers, from and to, an element of `IntSliceList`.\n\n"
                      "Args:\n"
                      "    start, stop: Instances of `IntRange`, TypeError for any other object.")
      .copies()
      .init<&IntSlice::init>({"start", "stop"})
      .field<&IntSlice::start>("start", "Parameters.IntRange: The first of both ranges.")
      .field<&IntSlice::stop>("stop", "Parameters.IntRange: The second of both ranges.")
      .accessor<&IntSlice::data>("data", "dict[str, Any]: The JSON form, a new dict of \"start\" and \"stop\".")
      .operation<&IntSlice::load>("load", {"data"},
                                  "Loads \"start\" and \"stop\" into the ranges, an empty map where one is missing.")
      .operation<&IntSlice::clone>("clone", "A new slice of clones of the ranges.")
      .done();

  const py::Scope scope =
      py::Class<IntSliceList, ParameterInput>(
          parameters, "IntSliceList",
          "A list of slices that all have the limits, prefixes and units of one. It has no label.\n\n"
          "Args:\n"
          "    default: The `IntSlice` to which new elements are made alike, as it is at construction.\n"
          "    items: Instances of `IntSlice`; their limits are set to those of the default, and its prefixes and "
          "units unless they are empty.\n\n"
          "TypeError for any other object.")
          .copies()
          .init<&IntSliceList::init>({"attr_name", "default", {"items", py::tuple({})}, {"help_text", ""}})
          .iterate<&IntSliceList::iterate>()
          .accessor<&IntSliceList::data>("data",
                                         "list[dict[str, Any]]: The JSON form, a new list of the data of each element.")
          .operation<&IntSliceList::load>(
              "load", {"data"},
              "Replaces the elements by those of a JSON form; 50 is the value of a range that is missing. "
              "AttributeError for an item that is no map: the list is left as it was.")
          .operation<&IntSliceList::add>("add", "Adds a slice like the default; returns it.")
          .operation<&IntSliceList::pop>("pop", {"index"},
                                         "Removes the element at an index. IndexError if there is none.")
          .operation<&IntSliceList::clone>(
              "clone", "A new list of clones of the elements with the same default. Its help is empty.")
          .static_operation<&IntSliceList::apply_spec>(
              "_apply_spec", {"int_range", "state"}, "Gives a range the limits of a spec, and its texts unless empty.")
          .operation<&IntSliceList::build>("_build", {"items"}, "Replaces the elements and sets their limits.")
          .readonly<&IntSliceList::array>("_array", "list[Parameters.IntSlice]: The elements in order.")
          .readonly<&IntSliceList::model>("_default", "Parameters.IntSlice: The slice given at construction.")
          .readonly<&IntSliceList::spec_start>(
              "_spec_start", "Parameters.IntSliceList._InputSpec: What the first range of each element shows.")
          .readonly<&IntSliceList::spec_stop>(
              "_spec_stop", "Parameters.IntSliceList._InputSpec: What the second range of each element shows.")
          .readonly<&IntSliceList::default_start>("_default_start", "int: The first value of a new element.")
          .readonly<&IntSliceList::default_stop>("_default_stop", "int: The second value of a new element.")
          .done();

  py::Class<IntRangeSpec>(scope, "_InputSpec", "What the widget of a range shows, without its value.")
      .copies()
      .init<&IntRangeSpec::init>({"int_range"})
      .field<&IntRangeSpec::prefix>("prefix", "str: What is shown before the number.")
      .field<&IntRangeSpec::units>("units", "str: What is shown after the number.")
      .field<&IntRangeSpec::minimum>("minimum", "int: The least value.")
      .field<&IntRangeSpec::maximum>("maximum", "int: The greatest value.")
      .field<&IntRangeSpec::step>("step", "int: The step of the widget.")
      .done();
}

}  // namespace heron
