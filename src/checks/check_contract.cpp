#include "checks/check_contract.h"

#include <algorithm>
#include <array>
#include <optional>

#include "checks/check_base.h"
#include "foundation/failure.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "parameters/block.h"

namespace heron {
namespace {

py::Object kind(const py::Object& value) {
  return value.is_none() ? py::text("None") : format("of type {}", {py::text(value.type_name())});
}

/// Asks a class from outside, which may do anything when it is asked, one thing after the other, until one is wrong.
/// Each question is asked by itself: an attribute is looked up once to see whether it is there and once more to be
/// taken.
class Inquiry {
 public:
  explicit Inquiry(const py::Object& type) : name_(failure::name_of(type)), file_(failure::file_of(type)) {}

  const Refusal& refusal() const { return refusal_; }

  /// Has the object this attribute, of the wanted kind?
  bool has(const py::Object& object, const py::Name& name, bool (*fits)(const py::Object&), const char* wanted) {
    const py::Object reading = format("reading \"{}\"", {py::text(name.text())});
    const auto read = [&] { return object.attr(name); };
    if (!answer(reading, read, PyExc_AttributeError)) return false;
    const std::optional<py::Object> value = answer(reading, read);
    if (!value) return false;
    if (fits(*value)) return true;
    return refuse(format("\"{}\" is {}, not {}", {py::text(name.text()), kind(*value), py::text(wanted)}));
  }

  /// Does a call give an instance of T?
  template <class T, class F>
  bool gives(const char* call, F&& function, const char* wanted) {
    const std::optional<py::Object> value = answer(py::text(call), function);
    if (!value) return false;
    if (py::Ref<T>::holds(*value)) return true;
    return refuse(format("{} gives {}, not a {}", {py::text(call), kind(*value), py::text(wanted)}));
  }

  /// Does a call go through?
  template <class F>
  bool works(const char* call, F&& function) {
    return answer(py::text(call),
                  [&] {
                    function();
                    return py::Object::none();
                  })
        .has_value();
  }

 private:
  /// Nothing if it fails, which is logged unless it is the silent error.
  template <class F>
  std::optional<py::Object> answer(const py::Object& what, F&& function, PyObject* silent = nullptr) {
    try {
      return function();
    } catch (const py::Error& error) {
      if (!error.is_failure()) throw;
      if (silent == nullptr || !error.matches(silent)) {
        logger::caught(error);
        failure::log(format("check class {}, {}", {name_, what}), error, file_);
      }
      refuse(format("{} raises {}", {what, failure::told(error.value(), file_)}));
      refusal_.error = kept(error);
      return std::nullopt;
    }
  }

  bool refuse(const py::Object& why) {
    refusal_.reason = why;
    return false;
  }

  py::Object name_, file_;
  Refusal refusal_;
};

bool is_callable(const py::Object& value) { return PyCallable_Check(value.get()) != 0; }
bool is_text(const py::Object& value) { return value.is_text(); }
bool is_integer(const py::Object& value) { return PyLong_Check(value.get()) != 0; }
bool is_boolean(const py::Object& value) { return PyBool_Check(value.get()) != 0; }

bool declares_parameters(Inquiry& inquiry, const py::Object& type) {
  static const py::Name kParameters("parameters"), kLoad("load");
  py::Object block;
  // What a checklist does with it, so that no class keeps all others from being listed.
  const auto load = [&] {
    block.call(kLoad, py::Object::none());
    if (const py::Object error = py::Ref<ParameterBlock>(block)->build_error()) py::raise_object(error);
  };
  return inquiry.has(type, kParameters, is_callable, "an operation") &&
         inquiry.gives<ParameterBlock>(
             "parameters()", [&] { return block = type.call(kParameters); }, "core.Parameters.Block") &&
         inquiry.works("making tasks of parameters()", load);
}

bool describes_itself(Inquiry& inquiry, const py::Object& type) {
  static const std::array texts = {py::Name("class_id"), py::Name("short_name"), py::Name("long_name"),
                                   py::Name("description"), py::Name("category")};
  static const py::Name kSortIndex("sort_index");
  static const std::array booleans = {py::Name("scene_oriented"), py::Name("could_be_fixed"),
                                      py::Name("could_be_selected")};
  const auto is_a = [&](bool (*fits)(const py::Object&), const char* wanted) {
    return [&inquiry, &type, fits, wanted](const py::Name& name) { return inquiry.has(type, name, fits, wanted); };
  };
  return std::ranges::all_of(texts, is_a(is_text, "a text")) && is_a(is_integer, "a whole number")(kSortIndex) &&
         std::ranges::all_of(booleans, is_a(is_boolean, "True or False"));
}

bool makes_checks(Inquiry& inquiry, const py::Object& type) {
  static const std::array operations = {py::Name("check"), py::Name("fix_result"), py::Name("select_result"),
                                        py::Name("result_message")};
  py::Object check;
  return inquiry.gives<CheckBase>(
             "making an instance", [&] { return check = type(); }, "core.Check.Base") &&
         std::ranges::all_of(
             operations, [&](const py::Name& name) { return inquiry.has(check, name, is_callable, "an operation"); });
}

bool is_valid_check(const py::Object& type) { return !check_refusal(type); }

}  // namespace

std::optional<Refusal> check_refusal(const py::Object& type) {
  Inquiry inquiry(type);
  const bool valid =
      declares_parameters(inquiry, type) && describes_itself(inquiry, type) && makes_checks(inquiry, type);
  return valid ? std::nullopt : std::optional(inquiry.refusal());
}

void expose_check_contract(const py::Scope& assertions) {
  const py::Scope scope = py::make_namespace(assertions, "Check", "Tests of checks.");
  py::function<&is_valid_check>(
      scope, "is_valid", {"_class"},
      "Whether this class can serve as a check.\n\n"
      "It must have the attributes of `Check.Base`, each of its kind, `parameters` must give a `Parameters.Block` of "
      "which tasks can be made, and the class without arguments an instance of `Check.Base` with all operations. A "
      "class that raises when it is "
      "asked is no check; the exception is logged.");
}

}  // namespace heron
