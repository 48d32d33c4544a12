#include "projects/record.h"

#include "export/export_options.h"
#include "files/paths.h"
#include "runtime/modules.h"
#include "settings/document_values.h"

namespace heron {
namespace {

const py::Name kAuthor("author"), kComment("comment"), kExport("export"), kRules("rules"), kPattern("pattern");
const py::Name kDirectory("directory"), kOptions("options"), kFlags("flags"), kDeepCopy("deepcopy");

py::Object deep_copy(const py::Object& value) { return py::modules::copy.call(kDeepCopy, value); }

}  // namespace

void RecordExport::init(const py::Object& stored) {
  const py::Object place = paths::plain(py::get(stored, kDirectory, py::text("~")));
  if (!place.is_text()) document::warn(kDirectory);
  directory = place.is_text() ? place : py::text("");  // nobody has asked for the home
  options = document::map_at(stored, kOptions);
  const auto switches = py::Ref<ExportFlags>::make();
  switches->load(document::map_at(stored, kFlags));
  flags = switches;
}

py::Object RecordExport::get_options() const { return deep_copy(options); }

void RecordExport::set_options(const py::Object& chosen) {
  static const py::Name kClear("clear"), kUpdate("update"), kData("data");
  if (!py::Ref<ExportOptions>::holds(chosen)) return;
  const py::Object data = chosen.attr(kData);
  options.call(kClear);
  options.call(kUpdate, data);
}

py::Dict RecordExport::data() const {
  py::Dict data;
  data.set(kDirectory, paths::plain(directory));
  data.set(kOptions, deep_copy(options));
  data.set(kFlags, deep_copy(flags->data()));
  return data;
}

py::Object Record::empty(const py::Object& type, const py::Object& history) {
  return type(history, py::Dict(), py::to_python(0));
}

void Record::init(const py::Object& owner, const py::Object& stored, const py::Object& time) {
  history = owner;
  apply(stored);
  init_data = data();
  timestamp = py::Object::steal(PyNumber_Long(time.get()));
}

// All is built before anything is replaced, so that a failure leaves the record whole.
void Record::apply(const py::Object& stored) {
  const auto read_rules = py::Ref<RuleList>::make();
  read_rules->init(py::get(stored, kRules, py::List()));
  const auto read_pattern = py::Ref<RuleRoot>::make();
  read_pattern->load(py::get(stored, kPattern, py::List()), read_rules);
  const auto read_export = py::made<RecordExport>(document::map_at(stored, kExport));
  author = document::text_at(stored, kAuthor, py::text(""));
  comment = document::text_at(stored, kComment, py::text(""));
  exporting = read_export;
  rules = read_rules;
  pattern = read_pattern;
}

bool Record::equals(const py::Object& other) const {
  return py::Ref<Record>::holds(other) && data().equals(py::Ref<Record>(other)->data());
}

void Record::select() const {
  static const py::Name kPointer("pointer");
  if (!is_promise()) history.set_attr(kPointer, timestamp);
}

bool Record::is_selected() const {
  static const py::Name kPointer("pointer");
  return history.attr(kPointer).equals(timestamp);
}

bool Record::is_promise() const { return timestamp.is_less(py::to_python(1)); }

// From a copy: edits of what is built of it must not change what edits are measured by.
void Record::reset() { apply(deep_copy(init_data)); }

py::Ref<Record> Record::clone() const { return py::made<Record>(history, data(), timestamp); }

// What is under edit goes back to what it was: the saved state lives on in the clone.
void Record::save() {
  static const py::Name kSaveRecord("save_record");
  const py::Ref<Record> saved = clone();
  reset();
  history.call(kSaveRecord, saved);
}

py::Dict Record::data() const {
  py::Dict data;
  data.set(kExport, exporting->data());
  data.set(kRules, rules->data());
  data.set(kPattern, pattern->data());
  data.set(kAuthor, author);
  data.set(kComment, comment);
  return data;
}

py::Scope expose_record(const py::Scope& settings) {
  const py::Scope scope =
      py::Class<Record>(settings, "Record",
                        "One saved state of a project: its rules, their tree and how it is exported.\n\n"
                        "Args:\n"
                        "    history: What it belongs to.\n"
                        "    data: The JSON form, of which every key may be missing.\n"
                        "    timestamp: The second at which it was saved; 0 for a promise, a working copy that becomes "
                        "a record when it is saved.\n\n"
                        "Equal records have equal data, whenever they were saved.")
          .copies()
          .init<&Record::init>({"history", "data", {"timestamp", 0}})
          .class_operation<&Record::empty>("emtpy", {"history"}, "A new promise without rules.")
          .operation<&Record::apply>("_apply", {"data"}, "Takes all content from a JSON form, as new objects.")
          .equals<&Record::equals>()
          .operation<&Record::select>("select", "Makes it the state that the project applies; not for a promise.")
          .operation<&Record::is_selected>("is_selected", "Whether it is the state that the project applies.")
          .operation<&Record::is_promise>("is_promise", "Whether it was never saved.")
          .operation<&Record::is_changed>("is_changed", "Whether it differs from what it was at first.")
          .operation<&Record::reset>("reset", "Drops all edits. The rules and their tree are new objects then.")
          .operation<&Record::clone>("clone", "A new record of the same content and time, which counts as unchanged.")
          .operation<&Record::save>("save",
                                    "Puts a clone into the history, which saves the project; the record itself goes "
                                    "back to what it was at first.")
          .operation<&Record::clear_author>("clear_author", "Empties the author.")
          .operation<&Record::clear_comment>("clear_comment", "Empties the comment.")
          .operation<&Record::clear_timestamp>("clear_timestamp", "Makes it a promise.")
          .accessor<&Record::data>("data", "dict[str, Any]: The JSON form, a new dict. The time is not part of it.")
          .field<&Record::timestamp>("timestamp",
                                     "int: Seconds since the epoch at which it was saved; 0 for a promise.")
          .field<&Record::author>("author", "str: Who saved it.")
          .field<&Record::comment>("comment", "str: Why it was saved.")
          .field<&Record::exporting>("export", "_Project.Settings.Record.Export: How it is exported.")
          .field<&Record::rules>("rules", "_Project.Settings.Rule.List: The rules, in order.")
          .field<&Record::pattern>("pattern", "_Project.Settings.Rule.Tree.Root: The tree of the rules.")
          .readonly<&Record::history>("_history", "_Project.Settings.Record.History: What it belongs to.")
          .readonly<&Record::init_data>("_init_data", "dict[str, Any]: The JSON form as it was at first.")
          .done();

  py::Class<RecordExport>(scope, "Export", "How a record is exported, from its JSON form; every key may be missing.")
      .copies()
      .init<&RecordExport::init>({"data"})
      .operation<&RecordExport::get_options>("get_options", "A deep copy of the exporters' options.")
      .operation<&RecordExport::set_options>("set_options", {"options"},
                                             "Takes the data of an `_Export.Options`; anything else changes nothing.")
      .accessor<&RecordExport::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .field<&RecordExport::directory>("directory", "str: Where files go, as the user gave it: \"~\" is not expanded.")
      .field<&RecordExport::flags>("flags", "_Export.Flags: The switches of the export.")
      .readonly<&RecordExport::options>("_options", "dict[str, Any]: The stored options of the exporters.")
      .done();
  return scope;
}

}  // namespace heron
