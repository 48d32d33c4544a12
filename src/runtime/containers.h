#pragma once

#include <optional>
#include <vector>

#include "runtime/object.h"

namespace heron::py {

/// A Python list.
class List : public Object {
 public:
  List() : Object(steal(PyList_New(0))) {}
  explicit List(Object list);  ///< TypeError unless it is a list.

  Py_ssize_t size() const { return PyList_Size(pointer_); }
  bool empty() const { return size() == 0; }
  Object at(Py_ssize_t index) const;                           ///< IndexError past the end.
  std::optional<Py_ssize_t> find(const Object& object) const;  ///< Where this very object stands first.
  void set(Py_ssize_t index, const Object& value) const;
  void append(const Object& value) const { checked(PyList_Append(pointer_, value.or_none())); }
  void insert(Py_ssize_t index, const Object& value) const { checked(PyList_Insert(pointer_, index, value.or_none())); }
  void remove_at(Py_ssize_t index) const { replace(index, index + 1); }
  /// Puts other elements, or none, in place of those from `first` up to `end`.
  void replace(Py_ssize_t first, Py_ssize_t end, const Object& with = {}) const;
  void extend(const Object& values) const;
  void clear() const;  ///< Drops the elements one by one from the end; others see the same list empty.
  List copy() const;
  std::vector<Object> items() const;  ///< The elements as they are now, safe to walk while Python code runs.
};

/// A Python dict, which keeps the order of insertion.
class Dict : public Object {
 public:
  Dict() : Object(steal(PyDict_New())) {}
  explicit Dict(Object dict);  ///< TypeError unless it is a dict.

  Py_ssize_t size() const { return PyDict_Size(pointer_); }
  std::optional<Object> find(const Object& key) const;
  std::optional<Object> find(const Name& key) const { return find(borrow(key.get())); }
  void set(const Object& key, const Object& value) const;
  void set(const Name& key, const Object& value) const { set(borrow(key.get()), value); }
  void remove(const Object& key) const;  ///< KeyError if absent.
  void update(const Dict& other) const;
  void clear() const;
  Dict copy() const;
  std::vector<std::pair<Object, Object>> items() const;
  List keys() const;  ///< A new list.
  std::vector<Object> values() const;
};

/// A Python set. Its order differs from run to run: no result may depend on it.
class Set : public Object {
 public:
  Set() : Object(steal(PySet_New(nullptr))) {}
  explicit Set(Object set);  ///< TypeError unless it is a set.

  bool contains(const Object& value) const;
  void add(const Object& value) const;
  void discard(const Object& value) const;
  void clear() const;
};

/// A List or Dict that is made when it is first asked for. An object whose own stay empty is made and collected in
/// half the time: that counts where there are tens of thousands of them.
template <class C>
class Lazy : public Object {
 public:
  Lazy() = default;
  explicit Lazy(Object object) : Object(C(std::move(object))) {}
  C get() const {
    if (pointer_ == nullptr) const_cast<Lazy*>(this)->pointer_ = C().release();
    return C(Object(*this));
  }
  bool empty() const { return pointer_ == nullptr || length() == 0; }
  void reset() { Object::operator=(Object()); }
};

/// A new tuple of these objects.
Object tuple(const std::vector<Object>& items);

/// The elements of any iterable, collected first, so that a walk over them may call Python.
std::vector<Object> collect(const Object& iterable);

/// `mapping.get(key)`, or `mapping.get(key, otherwise)`: by name, so any mapping serves.
Object get(const Object& mapping, const Name& key, const Object& otherwise = Object::none());

/// The pairs of `mapping.items()`: by name, so any mapping serves.
std::vector<std::pair<Object, Object>> pairs(const Object& mapping);

/// Python's `item in container`.
bool holds(const Object& container, const Object& item);

/// A new iterator over a copy of these elements.
Object iterator(const std::vector<Object>& items);

/// A new iterator over the values at these keys, each looked up in its turn; one that has gone by then is passed over.
Object values_at(const Dict& table, const List& keys);

}  // namespace heron::py
