#include "checks/check_base.h"

#include "checks/named_buffer.h"
#include "foundation/text.h"
#include "parameters/block.h"

namespace heron {
namespace {

const py::Name kClassId("class_id"), kCategory("category");

}  // namespace

py::Object CheckBase::parameters() {
  return py::Object::borrow(reinterpret_cast<PyObject*>(py::TypeOf<ParameterBlock>::type))();
}

void CheckBase::check(const py::Object&, const py::Object&) const {
  py::raise(PyExc_NotImplementedError, "check() must be implemented by the check class");
}

py::Object check_class_id(const py::Object& type) { return to_str(type.attr(kClassId)); }

py::Object check_category(const py::Object& type) {
  static const py::Name kLower("lower");
  return to_str(to_str(type.attr(kCategory)).call(kLower));
}

void expose_check_base(const py::Scope& check) {
  const py::Object nothing = py::text(""), no = py::to_python(false);
  py::Class<CheckBase>(check, "Base",
                       "An abstract class of checks: looks at one scene object and reports what is wrong with it.\n\n"
                       "A plug-in derives its checks at least two steps below: a class derived from this one alone is "
                       "not taken for a check. It overrides the attributes and `check`, and what else it needs. An "
                       "instance serves one object: `check` may keep there what the other operations need.")
      .copies()
      .static_operation<&CheckBase::parameters>(
          "parameters", {}, "A new `Parameters.Block` of the inputs that the user can set; one without inputs here.")
      .operation<&CheckBase::check>(
          "check", {"path", "parameters"},
          "Examines an object with one task of the parameters. Returns if it is as it should be, and raises "
          "Error.ValidationError to report a finding; any other error means that the check itself failed.\n\n"
          "NotImplementedError unless a plug-in overrides it.")
      .operation<&CheckBase::fix_result>("fix_result", {"path", "parameters"},
                                         "Tries to repair what the last `check` found. Does nothing here.")
      .operation<&CheckBase::select_result>("select_result", "Selects the findings in the host. Does nothing here.")
      .operation<&CheckBase::result_message>("result_message",
                                             "Text for the user about the last run; the empty text here.")
      .attribute("class_id", nothing)
      .attribute("long_name", nothing)
      .attribute("short_name", nothing)
      .attribute("description", nothing)
      .attribute("category", nothing)
      .attribute("sort_index", py::to_python(0))
      .attribute("scene_oriented", no)
      .attribute("could_be_fixed", no)
      .attribute("could_be_selected", no)
      .attribute("result", py::Ref<NamedBuffer>::make())
      .done();
}

}  // namespace heron
