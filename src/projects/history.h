#pragma once

#include "projects/record.h"

namespace heron {

class EditToggle;

/// The saved records of one project by the second at which each was saved, and which of them is selected.
class History {
 public:
  void init(const py::Object& project);

  py::Object iterate() const;  ///< The records, newest first; lazy over the times as they are now.
  py::Object get_pointer() const { return pointer; }
  void set_pointer(const py::Object& timestamp);  ///< Nothing if there is no record of this time.
  py::Object get_edit_toggle() const { return edit_toggle; }

  void clear() const;
  void bake() const;                       ///< Keeps the selected record only.
  void load(const py::Object& file_data);  ///< All of it, or after a failure nothing.
  py::Object find_pointer(const py::Object& file_data) const;
  py::Ref<Record> get_record() const;
  void select_record(const py::Object& record);
  void save_record(const py::Object& record);
  static bool is_timestamp(const py::Object& value);
  py::Dict data() const;

  py::Object project_settings;
  py::Object pointer = py::to_python(0);  ///< The time of the selected record; 0 for none.
  py::Dict records;
  py::Object edit_toggle;
  py::Object mutex_save;

  template <class V>
  void members(V& visit) {
    visit(mutex_save);
    copied(visit);
  }
  /// What a copy has of it: the lock is its own.
  template <class V>
  void copied(V& visit) {
    for (py::Object* field : {&project_settings, &pointer, &edit_toggle}) visit(*field);
    visit(records);
  }
  void restored();

 private:
  py::Dict read_records(const py::Object& file_data) const;
};

/// What an editor shows of a history: the records among which the user switches, and the one under edit.
class EditToggle {
 public:
  void init(const py::Object& owner);

  py::Object iterate() const { return py::iterator(records.items()); }
  py::Object get_current() const;  ///< A new promise that is not kept if there is none.
  py::Object switch_to(const py::Object& index);
  void clear();
  void update();
  void set_promise(const py::Object& record);

  py::Object history, current;
  py::List records;  ///< Newest first, after a promise.

  template <class V>
  void members(V& visit) {
    visit(history);
    visit(current);
    visit(records);
  }
};

/// Puts `History` into `Record`, and its `EditToggle`.
void expose_history(const py::Scope& record);

}  // namespace heron
