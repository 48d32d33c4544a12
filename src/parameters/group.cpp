#include "parameters/group.h"

namespace heron {

py::Object kept_contents(const py::Object& children) {
  return PySequence_Check(children.or_none()) != 0 ? children : py::tuple(py::collect(children));
}

void ParameterGroup::init(const py::Object& title, const py::Object& children, const py::Object& shows_by) {
  contents = kept_contents(children);
  label = title;
  visibility_switch = shows_by;
}

py::Object ParameterGroup::clone() const {
  const py::Depth depth(" while a group is cloned");
  auto copy = of_same_class(*this);
  copy->init(label, clones(py::collect(contents)), visibility_switch);
  return copy;
}

void expose_group(const py::Scope& parameters) {
  py::Class<ParameterGroup>(parameters, "Group",
                            "Inputs, and further groups, which a front-end shows together.\n\n"
                            "Args:\n"
                            "    contents: They, in order.\n"
                            "    visibility_switch: What the front-end shows or hides the group by.\n\n"
                            "TypeError for contents that cannot be walked over. A loop gives them.")
      .copies()
      .init<&ParameterGroup::init>({{"label", ""}, {"contents", py::tuple({})}, {"visibility_switch", nullptr}})
      .iterate<&ParameterGroup::iterate>()
      .field<&ParameterGroup::label>("label", "str: What the front-end shows above the group.")
      .readonly<&ParameterGroup::visibility_switch>(
          "visibility_switch", "Parameters.Switch | None: What the front-end shows or hides the group by.")
      .operation<&ParameterGroup::clone>(
          "clone",
          "A new group of clones of the contents, with the same visibility switch.\n\n"
          "A derived class gets an instance of its own, without a call of its constructor and without attributes that "
          "it has added. RecursionError for a group that stands in itself.")
      .readonly<&ParameterGroup::contents>(
          "_contents", "Sequence[Parameters._Input | Parameters.Group]: The inputs and groups in order.")
      .readonly<&ParameterGroup::visibility_switch>("_visibility_switch",
                                                    "Parameters.Switch | None: The stored `visibility_switch`.")
      .done();
}

}  // namespace heron
