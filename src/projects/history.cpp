#include "projects/history.h"

#include "foundation/clock.h"
#include "runtime/finally.h"
#include "runtime/modules.h"

namespace heron {
namespace {

py::Object to_float(const py::Object& value) {
  return py::Object::borrow(reinterpret_cast<PyObject*>(&PyFloat_Type))(value);
}

py::Object to_integer(const py::Object& value) {
  return py::Object::borrow(reinterpret_cast<PyObject*>(&PyLong_Type))(value);
}

/// The time that a document selects, or else that of the first record.
py::Object find_pointer(const py::Dict& records, const py::Object& file_data) {
  static const py::Name kSelected("selected_record");
  const py::Object selected = py::get(file_data, kSelected);
  py::Object timestamp = History::is_timestamp(selected) ? to_integer(selected) : py::to_python(0);
  if (records.find(timestamp)) return timestamp;
  const auto held = records.items();
  return held.empty() ? py::to_python(0) : held.front().first;
}

bool is_promise(const py::Object& record) {
  static const py::Name kIsPromise("is_promise");
  return record.call(kIsPromise).truth();
}

}  // namespace

void History::init(const py::Object& project) {
  project_settings = project;
  pointer = py::to_python(0);
  records = py::Dict();
  auto toggle = py::Ref<EditToggle>::make();
  toggle->init(py::Ref<History>::of(*this));
  edit_toggle = toggle;
  restored();
}

void History::restored() {
  static const py::Name kLock("Lock");
  mutex_save = py::modules::threading.call(kLock);
}

py::Object History::iterate() const {
  const py::List times = records.keys();
  py::checked(PyList_Sort(times.get()));
  py::checked(PyList_Reverse(times.get()));
  return py::values_at(records, times);
}

void History::set_pointer(const py::Object& timestamp) {
  for (const auto& [time, record] : records.items()) {
    if (time.equals(timestamp)) pointer = time;
  }
}

void History::clear() const {
  static const py::Name kClear("clear");
  records.clear();
  edit_toggle.call(kClear);
}

void History::bake() const {
  static const py::Name kUpdate("update");
  const py::Dict held(records);
  for (const auto& [timestamp, record] : held.items()) {
    if (!timestamp.equals(pointer)) held.remove(timestamp);
  }
  edit_toggle.call(kUpdate);
}

void History::load(const py::Object& file_data) {
  static const py::Name kUpdate("update");
  const py::Dict read = read_records(file_data);
  const py::Object selected = heron::find_pointer(read, file_data);
  clear();
  records.update(read);
  pointer = selected;
  edit_toggle.call(kUpdate);
}

py::Dict History::read_records(const py::Object& file_data) const {
  static const py::Name kRecords("records");
  py::Dict read;
  for (const auto& [key, data] : py::pairs(py::get(file_data, kRecords, py::Dict()))) {
    if (!is_timestamp(key)) continue;
    const py::Object timestamp = to_integer(to_float(key));
    read.set(timestamp, py::made<Record>(py::Ref<History>::of(*this), data, timestamp));
  }
  return read;
}

py::Object History::find_pointer(const py::Object& file_data) const { return heron::find_pointer(records, file_data); }

py::Ref<Record> History::get_record() const {
  if (const auto selected = records.find(pointer)) return py::Ref<Record>(*selected)->clone();
  const std::vector<py::Object> newest_first = py::collect(iterate());
  if (!newest_first.empty()) return py::Ref<Record>(newest_first.front())->clone();
  return py::made<Record>(py::Ref<History>::of(*this), py::Dict(), py::to_python(0));
}

void History::select_record(const py::Object& record) {
  for (const auto& [timestamp, held] : records.items()) {
    if (held.is(record)) pointer = timestamp;
  }
}

// A second save while one runs comes from a double click or a callback, and is dropped.
void History::save_record(const py::Object& record) {
  static const py::Name kAcquire("acquire"), kRelease("release");
  static const py::Name kUpdate("update"), kSave("save");
  const py::Object mutex = mutex_save, at_once = py::to_python(false);
  if (!py::Ref<Record>::holds(record) || !mutex.call(kAcquire, at_once).truth()) return;
  py::finally(
      [&] {
        const py::Object timestamp = to_integer(clock::now());
        py::Ref<Record>(record)->timestamp = timestamp;
        records.set(timestamp, record);
        pointer = timestamp;
        edit_toggle.call(kUpdate);
        project_settings.call(kSave);
      },
      [&] { mutex.call(kRelease); });
}

bool History::is_timestamp(const py::Object& value) {
  try {
    to_float(value);
    return true;
  } catch (const py::Error& error) {
    if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_TypeError)) throw;
    return false;
  }
}

py::Dict History::data() const {
  static const py::Name kData("data");
  py::Dict data;
  for (const auto& [timestamp, record] : records.items()) {
    data.set(timestamp.string(), record.attr(kData));
  }
  return data;
}

void EditToggle::init(const py::Object& owner) {
  history = owner;
  current = py::Object::none();
  records = py::List();
  update();
}

py::Object EditToggle::get_current() const {
  if (!current.is_none()) return current;
  return py::made<Record>(history, py::Dict(), py::to_python(0));
}

// The edits of a promise survive a switch, those of a saved record do not.
py::Object EditToggle::switch_to(const py::Object& index) {
  static const py::Name kReset("reset");
  if (!current.is_none() && !is_promise(current)) current.call(kReset);
  if (index.is_less(py::to_python(records.size()))) {
    current = records.item(index);
  }
  return current;
}

void EditToggle::clear() {
  current = py::Object::none();
  records.clear();
}

void EditToggle::update() {
  clear();
  records.extend(history);
  if (!records.empty()) current = records.at(0);
}

void EditToggle::set_promise(const py::Object& record) {
  if (!py::Ref<Record>::holds(record)) return;
  update();
  records.insert(0, record);
  current = record;
}

void expose_history(const py::Scope& record) {
  const py::Scope scope =
      py::Class<History>(record, "History",
                         "The saved records of one project, and which of them is selected.\n\n"
                         "Args:\n"
                         "    project_settings: The project, whose `save` is called when a record was added.\n\n"
                         "A loop gives the records, newest first.")
          .copies()
          .init<&History::init>({"project_settings"})
          .iterate<&History::iterate>()
          .accessor<&History::get_pointer, &History::set_pointer>(
              "pointer", "int: The time of the selected record, 0 for none. Writing an unknown time changes nothing.")
          .accessor<&History::get_edit_toggle>(
              "edit_toggle", "_Project.Settings.Record.History.EditToggle: The records as an editor shows them.")
          .operation<&History::clear>("clear", "Drops all records; the pointer stays.")
          .operation<&History::bake>("bake", "Drops all records but the selected one.")
          .operation<&History::load>(
              "load", {"file_data"},
              "Takes the records and the selection of a project's document.\n\n"
              "Records whose key is no number are left out. ValueError or OverflowError for a key, or a selection, "
              "that is one but no time; AttributeError for records that are no map, null included; AttributeError, "
              "TypeError or ValueError for one that cannot be built. Nothing has changed then.")
          .operation<&History::find_pointer>("_get_pointer", {"file_data"},
                                             "The time that the document selects, or that of its first record.")
          .operation<&History::get_record>(
              "get_record", "A clone of the selected record, or of the newest one; a promise without one.")
          .operation<&History::select_record>("select_record", {"record"},
                                              "Selects this very record; nothing happens if it is not here.")
          .operation<&History::save_record>(
              "save_record", {"record"},
              "Adds a record under the present second, selects it, and saves the project.\n\n"
              "Dropped without a word while another save runs.")
          .static_operation<&History::is_timestamp>("_is_timestamp", {"string"},
                                                    "Whether a number can be made of the value.")
          .accessor<&History::data>(
              "data", "dict[str, Any]: The JSON form, a new dict of each record's data by its time as text.")
          .readonly<&History::project_settings>("_project_settings", "Any: The project.")
          .readonly<&History::pointer>("_pointer", "int: The time of the selected record.")
          .readonly<&History::records>("_records", "dict[int, _Project.Settings.Record]: The records by time.")
          .readonly<&History::edit_toggle>(
              "_edit_toggle", "_Project.Settings.Record.History.EditToggle: The records as an editor shows them.")
          .readonly<&History::mutex_save>("_mutex_save", "Any: Held while a record is saved.")
          .done();

  py::Class<EditToggle>(scope, "EditToggle",
                        "The records of a history among which an editor switches, newest first, and the one under "
                        "edit; a promise stands before them.")
      .copies()
      .init<&EditToggle::init>({"history"})
      .iterate<&EditToggle::iterate>()
      .accessor<&EditToggle::get_current>(
          "current", "_Project.Settings.Record: The record under edit; without one a new promise each time.")
      .operation<&EditToggle::switch_to>("switch", {"index"},
                                         "Drops the edits of a saved record, then takes the one at `index` under edit, "
                                         "if there is one. Returns what is under edit now, or None.")
      .operation<&EditToggle::clear>("clear", "Has no records and none under edit.")
      .operation<&EditToggle::update>("update", "Takes the records of the history anew; the newest is under edit.")
      .operation<&EditToggle::set_promise>("set_promise", {"record"},
                                           "Takes the records anew and puts a promise before them, under edit.")
      .readonly<&EditToggle::history>("_history", "_Project.Settings.Record.History: What it shows.")
      .readonly<&EditToggle::current>("_current", "_Project.Settings.Record | None: The record under edit, or None.")
      .readonly<&EditToggle::records>("_records", "list[_Project.Settings.Record]: The records offered.")
      .done();
}

}  // namespace heron
