#pragma once

#include "runtime/class.h"

namespace heron {

/// The front-end's functions for one event, in the order of their registration.
class CallBackList {
 public:
  void call(const py::Object& arguments, const py::Object& named) const;
  void add(const py::Object& function) const;
  void remove(const py::Object& function) const;
  void clear() const { functions.clear(); }

  py::List functions;

  template <class V>
  void members(V& visit) {
    visit(functions);
  }
};

/// One list of functions for each event that the engine reports to its front-end.
class CallBacks {
 public:
  using List = py::Ref<CallBackList>;

  void clear() const;

  List empty_scan_selection = List::make(), used_scan_selection = List::make(), empty_scan_result = List::make();
  List lost_export_directory = List::make(), empty_export_selection = List::make();
  List export_skipped = List::make(), export_success = List::make();
  List projects_synchronized = List::make(), projects_response_closed = List::make(), projects_saved = List::make();
  List buffer_loaded = List::make(), http_no_response = List::make();

  /// Every list, in the order of the events.
  template <class V>
  void members(V& visit) {
    for (List* list : {&empty_scan_selection, &used_scan_selection, &empty_scan_result, &lost_export_directory,
                       &empty_export_selection, &export_skipped, &export_success, &projects_synchronized,
                       &projects_response_closed, &projects_saved, &buffer_loaded, &http_no_response}) {
      visit(*list);
    }
  }
};

void expose_callbacks(const py::Scope& module);

}  // namespace heron
