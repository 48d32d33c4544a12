#include "server/statistics_document.h"

#include <algorithm>
#include <cmath>

#include "files/json_file.h"
#include "runtime/convert.h"
#include "server/statistics_records.h"

namespace heron {
namespace {

const py::Name kTimestamp("timestamp");

bool is_version(const py::Object& name) {
  static const py::Name kLower("lower");
  return name.call(kLower).equals(py::text("version"));
}

bool is_list(const py::Object& value) { return PyList_Check(value.or_none()) != 0; }

/// Not NaN: it differs from itself, so each merge would add its record once more.
bool is_number(const py::Object& value) {
  if (PyFloat_Check(value.or_none()) != 0) return !std::isnan(PyFloat_AsDouble(value.get()));
  return PyLong_Check(value.or_none()) != 0;
}

bool is_record(const py::Object& value) {
  return PyDict_Check(value.or_none()) != 0 && is_number(py::Dict(value).find(kTimestamp).value_or(py::Object()));
}

/// May this stand under this name, where it is no list of records?
bool may_stand(const py::Object& name, const py::Object& value) {
  if (name.equals(py::text("version"))) return is_number(value);
  return std::none_of(kCategories.begin(), kCategories.end(),
                      [&](std::string_view category) { return name.equals(py::text(category)); });
}

/// Can a document hold this?
bool is_writable(const py::Object& name, const py::Object& value) {
  const py::Dict document;
  document.set(name, value);
  return json_file::is_writable(document);
}

}  // namespace

SoundStatistics::SoundStatistics(const py::Dict& document) {
  const bool all_writable = json_file::is_writable(document);  // mostly so: then nothing is tried by itself
  for (const auto& [name, value] : document.items()) add(name, value, all_writable);
}

void SoundStatistics::add(const py::Object& name, const py::Object& value, bool all_writable) {
  const bool is_category = is_list(value) && !is_version(name);
  const py::Object kept = is_category ? records(name, py::List(value), all_writable) : value;
  const bool stands = (is_category || may_stand(name, value)) && (all_writable || is_writable(name, kept));
  if (stands) content_.set(name, kept);
  if (!stands || (is_category && kept.length() != value.length())) partial_.push_back(name);
}

py::List SoundStatistics::records(const py::Object& category, const py::List& entries, bool all_writable) {
  py::List records;
  for (const py::Object& entry : entries.items()) {
    if (is_record(entry) && (all_writable || is_writable(category, py::tuple({entry})))) records.append(entry);
  }
  return records;
}

namespace timed_table {

py::Dict of(const py::Dict& document) {
  py::Dict table;
  for (const auto& [name, value] : document.items()) {
    if (is_version(name) || !is_list(value)) continue;
    const py::Dict records;
    for (const py::Object& record : py::List(value).items()) {
      records.set(record.item(py::Object::borrow(kTimestamp.get())), record);
    }
    table.set(name, records);
  }
  return table;
}

py::Dict bucket(const py::Dict& table, const py::Object& category) {
  if (const auto found = table.find(category)) return py::Dict(*found);
  py::Dict fresh;
  table.set(category, fresh);
  return fresh;
}

py::Dict flat(const py::Dict& table) {
  py::Dict lists;
  for (const auto& [category, records] : table.items()) {
    lists.set(category, py::Object::steal(PyDict_Values(py::Dict(records).get())));
  }
  return lists;
}

}  // namespace timed_table
}  // namespace heron
