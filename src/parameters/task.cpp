#include "parameters/task.h"

#include "foundation/errors.h"
#include "foundation/failure.h"
#include "foundation/text.h"
#include "parameters/input.h"
#include "parameters/names.h"

namespace heron {
namespace {

/// Frees an exception of the frames that it and those before it have passed: while it is kept, it would keep them and
/// all that they hold, and more with each time that it is raised again.
void drop_frames(const py::Object& exception) {
  PyException_SetTraceback(exception.get(), Py_None);
  PyException_SetContext(exception.get(), nullptr);
  PyException_SetCause(exception.get(), nullptr);
}

void keep(const py::List& exceptions, const py::Error& error) {
  if (!error.is_failure()) throw;
  if (const py::Object place = failure::place(error.value())) {
    failure::note(error.value(), format("raised in {}", {place}));
  }
  drop_frames(error.value());
  exceptions.append(error.value());
}

/// What an input raises may not say which of them it was.
void name_input(const py::Error& error, const py::Object& input) {
  if (!error.is_failure() || !py::Ref<ParameterInput>::holds(input)) return;
  failure::note(error.value(), format("in the input \"{}\"", {py::Ref<ParameterInput>(input)->attr()}));
}

void load_into(const py::Object& input, const py::Object& data) {
  try {
    input.call(names::kLoad, data);
  } catch (const py::Error& error) {
    name_input(error, input);
    throw;
  }
}

/// A name that the task has for itself, and yet an input may bear: it is set on the task as any other.
bool is_shared(const py::Object& attr) {
  static const py::Name kNumber("number");
  return attr.equals(py::Object::borrow(kNumber.get()));
}

}  // namespace

void ParameterTask::init(const py::Object& prototypes, const py::Object& reports_info) {
  if (!build_exceptions.empty()) get_build_exceptions().clear();
  if (!load_exceptions.empty()) get_load_exceptions().clear();
  as_info = reports_info;
  number = py::to_python(0);
  table.reset();
  if (take_clones(py::collect(prototypes))) build();
}

bool ParameterTask::take_clones(const std::vector<py::Object>& prototypes) {
  inputs.reset();
  for (const py::Object& prototype : prototypes) {
    const py::Object clone = prototype.attr(names::kClone);
    try {
      get_inputs().append(clone());
    } catch (const py::Error& error) {
      name_input(error, prototype);
      keep(get_build_exceptions(), error);
    }
  }
  return build_exceptions.empty();
}

py::Dict ParameterTask::data() const {
  py::Dict data;
  data.set(names::kAsInfo, as_info);
  data.set(names::kState, state());
  return data;
}

py::Dict ParameterTask::state() const {
  py::Dict state;
  if (table.empty()) return state;
  for (const auto& [attr, input] : get_table().items()) state.set(attr, input.attr(names::kData));
  return state;
}

py::Ref<ParameterTask> ParameterTask::clone() const {
  auto copy = py::Ref<ParameterTask>::make();
  copy->as_info = as_info;
  if (!inputs.empty()) copy->init(get_inputs(), as_info);
  if (!table.empty()) copy->load(state());
  if (!load_exceptions.empty()) copy->get_load_exceptions().extend(load_exceptions);
  return copy;
}

void ParameterTask::load(const py::Object& state) const {
  const py::Dict known = get_table();  // the inputs may do anything while they load
  try {
    for (const auto& [attr, data] : py::pairs(state)) {
      const auto input = known.find(attr);
      if (!input) py::raise(PyExc_AttributeError, py::Utf8(format("the task has no input '{}'", {attr})).str());
      load_into(*input, data);
    }
  } catch (const py::Error& error) {
    keep(get_load_exceptions(), error);
  }
}

void ParameterTask::build() {
  table.reset();
  if (inputs.empty()) return;
  try {
    for (const py::Object& input : get_inputs().items()) enter(input);
  } catch (const py::Error& error) {
    keep(get_build_exceptions(), error);
    table.reset();
  }
}

void ParameterTask::enter(const py::Object& input) const {
  if (!py::Ref<ParameterInput>::holds(input)) errors::raise<errors::ParameterInputType>();
  const py::Dict entered = get_table();
  const py::Object attr = input.attr(names::kAttr);
  if (entered.find(attr)) errors::raise<errors::AttributeNameRepeat>();
  const py::Object self = py::object_of(*this);
  if (is_shared(attr)) {
    self.set_attr(attr, input);
  } else {
    add_member(self, py::TypeOf<ParameterTask>::type, attr, input);
  }
  entered.set(attr, input);
}

void ParameterTask::assert_no_errors() const {
  for (const auto* exceptions : {&build_exceptions, &load_exceptions}) {
    if (!exceptions->empty()) py::raise_object(exceptions->get().at(0));
  }
}

void expose_task(const py::Scope& block) {
  py::Class<ParameterTask>(
      block, "Task",
      "One set of values for the inputs of a block: a check runs once for each task.\n\n"
      "It has clones of `inputs`, each of them a member under its attribute name. An object without `clone` is an "
      "AttributeError. Whatever else is wrong with the inputs is kept until `assert_no_errors`: a clone that fails, an "
      "object that is no input, two of one name, one named like a member of the class. One named \"number\" is a "
      "member too, until a block numbers the task. A loop gives the inputs.")
      .copies()
      .init<&ParameterTask::init>({"inputs", {"as_info", false}})
      .iterate<&ParameterTask::iterate>()
      .accessor<&ParameterTask::data>("data", "dict[str, Any]: The JSON form, a new dict of \"as_info\" and \"state\".")
      .accessor<&ParameterTask::state>("state",
                                       "dict[str, Any]: A new dict of the data of each input by its attribute name.")
      .operation<&ParameterTask::load>("load", {"state"},
                                       "Takes the data of inputs by their attribute names, in order.\n\n"
                                       "The first failure ends it, an unknown name is one; it is kept until "
                                       "`assert_no_errors`, and what was loaded before it stays.")
      .operation<&ParameterTask::clone>(
          "clone",
          "A new task with clones of the inputs, the same values, `as_info` and errors from loading. Its number is 0.")
      .operation<&ParameterTask::assert_no_errors>("assert_no_errors",
                                                   "Raises the first error from building, or else the first from "
                                                   "loading, if there is one. It tells no more where it came from.")
      .operation<&ParameterTask::build>("_build", "Makes the inputs members and enters them in the table.")
      .field<&ParameterTask::as_info>("as_info", "bool: Whether a failed check is reported as information only.")
      .field<&ParameterTask::number>("number", "int: The position in the block, from 1; 0 outside of one.")
      .accessor<&ParameterTask::get_inputs>("_inputs", "list[Parameters._Input]: The task's own inputs in order.")
      .accessor<&ParameterTask::get_build_exceptions>("_build_exceptions",
                                                      "list[Exception]: What was caught while building.")
      .accessor<&ParameterTask::get_load_exceptions>("_load_exceptions",
                                                     "list[Exception]: What was caught while loading.")
      .accessor<&ParameterTask::get_table>("_table",
                                           "dict[str, Parameters._Input]: The inputs by their attribute names.")
      .done();
}

}  // namespace heron
