#include "projects/rule_range.h"

namespace heron {

void RuleRange::init(const py::Object& least, const py::Object& most) {
  minimum = least;
  maximum = most;
}

bool RuleRange::equals(const py::Object& other) const {
  if (!py::Ref<RuleRange>::holds(other)) return false;
  const py::Ref<RuleRange> range(other);
  return minimum.equals(range->minimum) && maximum.equals(range->maximum);
}

py::List RuleRange::data() const {
  py::List data;
  data.append(minimum);
  data.append(maximum);
  return data;
}

void expose_rule_range(const py::Scope& rule) {
  py::Class<RuleRange>(rule, "Range", "How many objects may match a rule at one place, both bounds included.")
      .copies()
      .init<&RuleRange::init>({"minimum", "maximum"})
      .accessor<&RuleRange::data>("data", "list[int]: The JSON form, a new list of `minimum` and `maximum`.")
      .field<&RuleRange::minimum>("minimum", "int: The fewest objects that may match.")
      .field<&RuleRange::maximum>("maximum", "int: The most objects that may match.")
      .equals<&RuleRange::equals>()
      .done();
}

}  // namespace heron
