#include "parameters/list_input.h"

#include "parameters/names.h"

namespace heron {

py::List ListInput::data() const {
  py::List data;
  for (const py::Object& element : array.items()) data.append(element.attr(names::kData));
  return data;
}

void ListInput::pop(const py::Object& index) const {
  static const py::Name kPop("pop");
  array.call(kPop, index);
}

}  // namespace heron
