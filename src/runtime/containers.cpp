#include "runtime/containers.h"

#include <string>

#include "runtime/modules.h"

namespace heron::py {

List::List(Object list) : Object(std::move(list)) {
  if (pointer_ == nullptr || !PyList_Check(pointer_)) {
    raise_type(std::string("list expected, not ") + type_name());
  }
}

Object List::at(Py_ssize_t index) const {
  PyObject* item = PyList_GetItem(pointer_, index);
  if (item == nullptr) throw Error();
  return borrow(item);
}

std::optional<Py_ssize_t> List::find(const Object& object) const {
  for (Py_ssize_t i = 0; i < size(); ++i) {
    if (PyList_GetItem(pointer_, i) == object.get()) return i;
  }
  return std::nullopt;
}

void List::set(Py_ssize_t index, const Object& value) const {
  const Object held(*this);
  checked(PyList_SetItem(held.get(), index, borrow(value.or_none()).release()));
}

void List::replace(Py_ssize_t first, Py_ssize_t end, const Object& with) const {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copies keep both alive
  const Object held(*this), given(with);
  checked(PyList_SetSlice(held.get(), first, end, given.get()));
}

List List::copy() const {
  const Object held(*this);
  return List(steal(PyList_GetSlice(held.get(), 0, PY_SSIZE_T_MAX)));
}

void List::extend(const Object& values) const {
  for (const Object& value : collect(values)) append(value);
}

void List::clear() const {
  const Object held(*this);
  for (Py_ssize_t size = PyList_Size(held.get()); size > 0; size = PyList_Size(held.get())) {
    checked(PyList_SetSlice(held.get(), size - 1, size, nullptr));
  }
}

std::vector<Object> List::items() const {
  std::vector<Object> items;
  items.reserve(static_cast<std::size_t>(size()));
  for (Py_ssize_t i = 0; i < PyList_Size(pointer_); ++i) items.push_back(borrow(PyList_GetItem(pointer_, i)));
  return items;
}

Dict::Dict(Object dict) : Object(std::move(dict)) {
  if (pointer_ == nullptr || !PyDict_Check(pointer_)) {
    raise_type(std::string("dict expected, not ") + type_name());
  }
}

// NOLINTBEGIN(performance-unnecessary-copy-initialization): the copies keep what stands in fields

std::optional<Object> Dict::find(const Object& key) const {
  const Object held(*this), sought(key);
  PyObject* value = PyDict_GetItemWithError(held.get(), sought.or_none());
  if (value != nullptr) return borrow(value);
  if (PyErr_Occurred() != nullptr) throw Error();
  return std::nullopt;
}

void Dict::set(const Object& key, const Object& value) const {
  const Object held(*this), place(key), given(value);
  checked(PyDict_SetItem(held.get(), place.or_none(), given.or_none()));
}

void Dict::remove(const Object& key) const {
  const Object held(*this), place(key);
  checked(PyDict_DelItem(held.get(), place.or_none()));
}

void Dict::update(const Dict& other) const {
  const Object held(*this), given(other);
  checked(PyDict_Update(held.get(), given.get()));
}

void Dict::clear() const {
  const Object held(*this);
  PyDict_Clear(held.get());
}

Dict Dict::copy() const { return Dict(Held(*this).apply(PyDict_Copy)); }

List Dict::keys() const { return List(Held(*this).apply(PyDict_Keys)); }

bool Set::contains(const Object& value) const {
  const Object held(*this), sought(value);
  return checked(PySet_Contains(held.get(), sought.or_none())) != 0;
}

void Set::add(const Object& value) const {
  const Object held(*this), given(value);
  checked(PySet_Add(held.get(), given.or_none()));
}

void Set::discard(const Object& value) const {
  const Object held(*this), given(value);
  checked(PySet_Discard(held.get(), given.or_none()));
}

void Set::clear() const {
  const Object held(*this);
  checked(PySet_Clear(held.get()));
}

bool holds(const Object& container, const Object& item) {
  const Object held(container), sought(item);
  return checked(PySequence_Contains(held.or_none(), sought.or_none())) != 0;
}

// NOLINTEND(performance-unnecessary-copy-initialization)

std::vector<std::pair<Object, Object>> Dict::items() const {
  std::vector<std::pair<Object, Object>> items;
  items.reserve(static_cast<std::size_t>(size()));
  PyObject *key = nullptr, *value = nullptr;
  for (Py_ssize_t position = 0; PyDict_Next(pointer_, &position, &key, &value) != 0;) {
    items.emplace_back(borrow(key), borrow(value));
  }
  return items;
}

std::vector<Object> Dict::values() const {
  std::vector<Object> values;
  for (auto& [key, value] : items()) values.push_back(std::move(value));
  return values;
}

Set::Set(Object set) : Object(std::move(set)) {
  if (pointer_ == nullptr || !PySet_Check(pointer_)) {
    raise_type(std::string("set expected, not ") + type_name());
  }
}

Object tuple(const std::vector<Object>& items) {
  Object tuple = Object::steal(PyTuple_New(static_cast<Py_ssize_t>(items.size())));
  for (std::size_t i = 0; i < items.size(); ++i) {
    checked(PyTuple_SetItem(tuple.get(), static_cast<Py_ssize_t>(i), Object::borrow(items[i].or_none()).release()));
  }
  return tuple;
}

std::vector<Object> collect(const Object& iterable) { return List(Held(iterable).apply(PySequence_List)).items(); }

Object get(const Object& mapping, const Name& key, const Object& otherwise) {
  static const Name kGet("get");
  return mapping.call(kGet, Object::borrow(key.get()), otherwise);
}

std::vector<std::pair<Object, Object>> pairs(const Object& mapping) {
  static const Name kItems("items");
  const Dict table;
  checked(PyDict_MergeFromSeq2(table.get(), mapping.call(kItems).get(), 1));
  return table.items();
}

Object values_at(const Dict& table, const List& keys) {
  static const Name kGet("get"), kPartial("partial"), kIsNot("is_not");
  const auto builtin = [](PyTypeObject& type) { return Object::borrow(reinterpret_cast<PyObject*>(&type)); };
  const Object is_there = modules::functools.call(kPartial, modules::operators.attr(kIsNot), Object::none());
  return builtin(PyFilter_Type)(is_there, builtin(PyMap_Type)(table.attr(kGet), keys));
}

Object iterator(const std::vector<Object>& items) { return tuple(items).iterate(); }

}  // namespace heron::py
