#include "settings/document_values.h"

#include <cmath>

#include "foundation/safe_access.h"
#include "foundation/text.h"

namespace heron {
namespace {

const py::Name kGet("get");

bool is_number(const py::Object& value) {
  if (PyFloat_Check(value.or_none()) != 0) return std::isfinite(PyFloat_AsDouble(value.get()));
  return PyLong_Check(value.or_none()) != 0;
}

thread_local document::Ignored* innermost = nullptr;

bool is_text(const py::Object& value) { return value.is_text(); }
bool is_flag(const py::Object& value) { return PyBool_Check(value.or_none()) != 0; }

py::Object as_object(const py::Name& name) { return py::Object::borrow(name.get()); }

template <class Fits>
py::Object value_at(const py::Object& document, const py::Object& key, const py::Object& otherwise, Fits fits) {
  py::Object value = document.call(kGet, key, otherwise);
  if (fits(value)) return value;
  document::warn(key);
  return otherwise;
}

}  // namespace

bool document::is_map(const py::Object& value) { return static_cast<bool>(safe_access::operation(value, kGet)); }

bool document::is_list(const py::Object& value) {
  return !value.is_text() && !is_map(value) && py::Iterable::fits(value.or_none());
}

py::Object document::map_at(const py::Object& document, const py::Name& key) {
  return map_at(document, as_object(key));
}

py::Object document::map_at(const py::Object& document, const py::Object& key) {
  return value_at(document, key, py::Dict(), is_map);
}

py::Object document::list_at(const py::Object& document, const py::Name& key) {
  return value_at(document, as_object(key), py::List(), is_list);
}

py::Object document::text_at(const py::Object& document, const py::Name& key) {
  return to_str(text_at(document, key, py::text("")));
}

py::Object document::text_at(const py::Object& document, const py::Name& key, const py::Object& otherwise) {
  return value_at(document, as_object(key), otherwise, is_text);
}

bool document::flag_at(const py::Object& document, const py::Name& key) {
  return value_at(document, as_object(key), py::to_python(false), is_flag).truth();
}

bool document::truth_at(const py::Object& document, const py::Name& key) {
  const auto is_either = [](const py::Object& value) { return is_flag(value) || is_number(value); };
  return value_at(document, as_object(key), py::to_python(false), is_either).truth();
}

py::Object document::number_at(const py::Object& document, const py::Name& key, const py::Object& otherwise) {
  return value_at(document, as_object(key), otherwise, is_number);
}

std::vector<py::Object> document::maps(const py::Object& list, const py::Name& key) {
  std::vector<py::Object> found;
  for (py::Object& value : py::collect(list)) {
    if (is_map(value)) {
      found.push_back(std::move(value));
    } else {
      warn(key);
    }
  }
  return found;
}

void document::warn(const py::Object& key) {
  const py::Object what = format("Incompatible Stored Value - {}", {key});
  const bool has_file = innermost != nullptr && !innermost->file_.is_none();
  logger::warning(has_file ? format("{} in {}", {what, innermost->file_}) : what);
  note(key);
}

void document::note(const py::Object& key) {
  if (innermost != nullptr) innermost->keys_.push_back(key);
}

document::Ignored::Ignored(const py::Object& file) : outer_(std::exchange(innermost, this)), file_(file) {}
document::Ignored::~Ignored() { innermost = outer_; }

void document::warn(const py::Name& key) { warn(as_object(key)); }

}  // namespace heron
