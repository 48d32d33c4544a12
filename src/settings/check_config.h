#pragma once

#include "runtime/class.h"

namespace heron {

/// The stored state of one check. The values are kept as they came; a check's parameters judge theirs themselves.
class StoredCheck {
 public:
  static py::Ref<StoredCheck> create(const py::Object& class_id, const py::Object& values);
  static py::Object empty(const py::Object& type, const py::Object& class_id);

  void init(const py::Object& id, const py::Object& is_enabled, const py::Object& is_opened, const py::Object& blocks);

  py::Dict data() const;  ///< The JSON form, without the id: that is its key.

  py::Object class_id = py::Object::none();
  py::Object enabled = py::to_python(false);  ///< The check takes part in a validation.
  py::Object opened = py::to_python(false);   ///< The front-end shows the check unfolded.
  py::Object parameters = py::List();

  template <class V>
  void members(V& visit) {
    visit(class_id);
    visit(enabled);
    visit(opened);
    visit(parameters);
  }
};

/// The stored states of checks, by their ids. Only enabled ones are written, copied and compared.
class CheckConfig {
 public:
  static py::Object empty(const py::Object& type);

  void init(const py::Object& stored) { load(stored); }

  bool is_empty() const { return enabled().empty(); }
  py::Dict data() const;  ///< The JSON form of the enabled checks, by their ids.
  bool equals(const py::Object& other) const;
  py::Object iterate() const { return py::iterator(table.values()); }
  Py_ssize_t size() const { return table.size(); }  ///< Counts disabled checks too.

  void load(const py::Object& stored);
  void mask(const py::Object& class_ids) const;  ///< Keeps these checks only.
  py::Ref<CheckConfig> clone() const { return py::made<CheckConfig>(data()); }
  void apply(const py::Ref<CheckConfig>& config) { load(config->data()); }
  py::Object get(const py::Object& class_id, bool force) const;

  py::Dict table;

  template <class V>
  void members(V& visit) {
    visit(table);
  }

 private:
  using Entry = std::pair<py::Object, py::Ref<StoredCheck>>;
  std::vector<Entry> enabled() const;
};

/// Puts `Check` into `_Settings`, with its `Config`. Returns its scope, for what else nests in it.
py::Scope expose_check(const py::Scope& settings);

}  // namespace heron
