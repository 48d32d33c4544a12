#include "foundation/callbacks.h"

#include "foundation/failure.h"
#include "foundation/logger.h"
#include "foundation/text.h"

namespace heron {
namespace {

/// An error of no words, as that of `assert`, and one whose words are a bare key say nothing without their class.
bool speaks_for_itself(const py::Error& error) {
  return !error.matches(PyExc_KeyError) && printable(error.value()).length() != 0;
}

void tell(const py::Object& function, const py::Error& error) {
  if (speaks_for_itself(error)) {
    logger::exception(error.value());
  } else {
    logger::caught(error);
  }
  failure::log(format("callback {}", {failure::name_of(function)}), error);
}

}  // namespace

void CallBackList::call(const py::Object& arguments, const py::Object& named) const {
  const py::Depth depth(" while an event is reported");  // a function may report the event again
  for (const py::Object& function : functions.items()) {
    try {
      function.apply(arguments, named);
    } catch (const py::Error& error) {
      if (!error.is_failure()) throw;
      tell(function, error);
    }
  }
}

void CallBackList::add(const py::Object& function) const {
  if (PyCallable_Check(function.get()) == 0) return;
  if (py::holds(functions, function)) return;
  functions.append(function);
}

void CallBackList::remove(const py::Object& function) const {
  if (!py::holds(functions, function)) return;
  static const py::Name kRemove("remove");
  functions.call(kRemove, function);
}

void CallBacks::clear() const {
  const auto clear_list = [](const List& list) { list->clear(); };
  const_cast<CallBacks*>(this)->members(clear_list);
}

void expose_callbacks(const py::Scope& module) {
  const py::Scope scope =
      py::Class<CallBacks>(module, "_CallBacks",
                           "The events of the engine: one list of functions for each. Read from `Api.callbacks`.")
          .no_copies("it connects a front-end with the application")
          .sealed()
          .operation<&CallBacks::clear>("clear", "Empties every list; the list objects stay.")
          .readonly<&CallBacks::empty_scan_selection>("empty_scan_selection",
                                                      "_CallBacks.List: A scan found nothing selected.")
          .readonly<&CallBacks::used_scan_selection>(
              "used_scan_selection", "_CallBacks.List: A scan was to add what the buffer holds already.")
          .readonly<&CallBacks::empty_scan_result>("empty_scan_result", "_CallBacks.List: A scan found no hierarchy.")
          .readonly<&CallBacks::lost_export_directory>("lost_export_directory",
                                                       "_CallBacks.List: An export has no directory.")
          .readonly<&CallBacks::empty_export_selection>("empty_export_selection",
                                                        "_CallBacks.List: An export has nothing to write.")
          .readonly<&CallBacks::export_skipped>("export_skipped",
                                                "_CallBacks.List: An export left tasks out; called with their names.")
          .readonly<&CallBacks::export_success>("export_success", "_CallBacks.List: An export wrote all its files.")
          .readonly<&CallBacks::projects_synchronized>("projects_synchronized",
                                                       "_CallBacks.List: The server's projects are applied.")
          .readonly<&CallBacks::projects_response_closed>("projects_response_closed",
                                                          "_CallBacks.List: The server's answer is dealt with.")
          .readonly<&CallBacks::projects_saved>("projects_saved", "_CallBacks.List: Projects were saved.")
          .readonly<&CallBacks::buffer_loaded>("buffer_loaded",
                                               "_CallBacks.List: The buffer was loaded from the scene.")
          .readonly<&CallBacks::http_no_response>("http_no_response", "_CallBacks.List: The server did not answer.")
          .done();

  py::Class<CallBackList>(
      scope, "List",
      "The functions registered for one event. A call calls them all, with its arguments; one that raises is logged.")
      .no_copies("it connects a front-end with the application")
      .call<&CallBackList::call>()
      .operation<&CallBackList::add>("register", {"function"},
                                     "Appends a function, unless it is not callable or in the list already.")
      .operation<&CallBackList::remove>("delete", {"function"}, "Removes a function if it is in the list.")
      .operation<&CallBackList::clear>("clear", "Removes all functions.")
      .readonly<&CallBackList::functions>(
          "_array", "list[Callable[..., object]]: The functions in the order of their registration.")
      .done();
}

}  // namespace heron
