#pragma once

#include "export/export_flags.h"
#include "projects/rule_list.h"
#include "projects/rule_tree.h"

namespace heron {

/// How a record is exported.
class RecordExport {
 public:
  void init(const py::Object& stored);
  py::Object get_options() const;              ///< A deep copy.
  void set_options(const py::Object& chosen);  ///< Changes the stored map in place.
  py::Dict data() const;                       ///< The JSON form.

  py::Object directory = py::text("~");
  py::Object options = py::Dict();
  py::Ref<ExportFlags> flags = py::Ref<ExportFlags>::make();

  template <class V>
  void members(V& visit) {
    visit(directory);
    visit(options);
    visit(flags);
  }
};

/// One saved state of a project, or the promise of one: a working copy without a time yet.
class Record {
 public:
  static py::Object empty(const py::Object& type, const py::Object& history);

  void init(const py::Object& owner, const py::Object& stored, const py::Object& time);
  void apply(const py::Object& stored);  ///< After a failure nothing has changed.

  bool equals(const py::Object& other) const;
  void select() const;
  bool is_selected() const;
  bool is_promise() const;
  bool is_changed() const { return !data().equals(init_data); }
  void reset();
  py::Ref<Record> clone() const;
  void save();
  void clear_author() { author = py::text(""); }
  void clear_comment() { comment = py::text(""); }
  void clear_timestamp() { timestamp = py::to_python(0); }
  py::Dict data() const;  ///< The JSON form, without the time: that is its key.

  py::Object history;
  py::Object timestamp = py::to_python(0);  ///< The second at which it was saved; 0 for a promise.
  py::Object author = py::text("");
  py::Object comment = py::text("");
  py::Ref<RecordExport> exporting = py::Ref<RecordExport>::make();
  py::Ref<RuleList> rules = py::Ref<RuleList>::make();
  py::Ref<RuleRoot> pattern = py::Ref<RuleRoot>::make();
  py::Object init_data = py::Dict();  ///< The JSON form as it was at first.

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&history, &timestamp, &author, &comment, &init_data}) visit(*field);
    visit(exporting);
    visit(rules);
    visit(pattern);
  }
};

/// Puts `Record` into `_Project.Settings`, and its `Export`. Returns its scope, for what else nests in it.
py::Scope expose_record(const py::Scope& settings);

}  // namespace heron
