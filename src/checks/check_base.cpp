#include "checks/check_base.h"

#include <algorithm>
#include <array>

#include "checks/named_buffer.h"
#include "foundation/safe_access.h"
#include "foundation/text.h"
#include "parameters/block.h"

namespace heron {
namespace {

const py::Name kParameters("parameters"), kClassId("class_id"), kCategory("category");

bool is_text(const py::Object& value) { return value.is_text(); }
bool is_integer(const py::Object& value) { return PyLong_Check(value.get()) != 0; }
bool is_boolean(const py::Object& value) { return PyBool_Check(value.get()) != 0; }

/// Has the object all of these attributes, each of the wanted kind?
template <class Names>
bool has_all(const py::Object& object, const Names& names, bool (*wanted)(const py::Object&)) {
  return std::ranges::all_of(names, [&](const py::Name& name) {
    return safe_access::has(object, name) && wanted(safe_access::attribute(object, name));
  });
}

bool declares_parameters(const py::Object& type) {
  const py::Object parameters = safe_access::operation(type, kParameters);
  return parameters && py::Ref<ParameterBlock>::holds(safe_access::call([&] { return parameters(); }));
}

bool describes_itself(const py::Object& type) {
  static const std::array texts = {py::Name("class_id"), py::Name("short_name"), py::Name("long_name"),
                                   py::Name("description"), py::Name("category")};
  static const std::array integers = {py::Name("sort_index")};
  static const std::array booleans = {py::Name("scene_oriented"), py::Name("could_be_fixed"),
                                      py::Name("could_be_selected")};
  return has_all(type, texts, is_text) && has_all(type, integers, is_integer) && has_all(type, booleans, is_boolean);
}

bool makes_checks(const py::Object& type) {
  static const std::array operations = {py::Name("check"), py::Name("fix_result"), py::Name("select_result"),
                                        py::Name("result_message")};
  const py::Object check = safe_access::call([&] { return type(); });
  return py::Ref<CheckBase>::holds(check) && std::ranges::all_of(operations, [&](const py::Name& name) {
           return bool(safe_access::operation(check, name));
         });
}

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

bool is_valid_check(const py::Object& type) {
  return declares_parameters(type) && describes_itself(type) && makes_checks(type);
}

void expose_check_base(const py::Scope& check) {
  const py::Object nothing = py::text(""), no = py::to_python(false);
  py::Class<CheckBase>(check, "Base",
                       "An abstract class of checks: looks at one scene object and reports what is wrong with it.\n\n"
                       "A plug-in derives its checks at least two steps below: a class derived from this one alone is "
                       "not taken for a check. It overrides the attributes and `check`, and what else it needs. An "
                       "instance serves one object: `check` may keep there what the other operations need.")
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

void expose_check_assertions(const py::Scope& assertions) {
  const py::Scope scope = py::make_namespace(assertions, "Check", "Tests of checks.");
  py::function<&is_valid_check>(
      scope, "is_valid", {"_class"},
      "Whether this class can serve as a check.\n\n"
      "It must have the attributes of `Check.Base`, each of its kind, `parameters` must give a `Parameters.Block`, and "
      "the class without arguments an instance of `Check.Base` with all operations. A class that raises when it is "
      "asked is no check; the exception is logged.");
}

}  // namespace heron
