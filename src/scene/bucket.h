#pragma once

#include "runtime/class.h"
#include "scene/lazy_text.h"

namespace heron {

/// A scanned hierarchy, with what controls its export and display.
class DataBucket {
 public:
  void init(const py::Object& joint, const py::Object& name, const py::Object& checked, const py::Object& opened);

  /// Is this one of ours? A subclass may tell otherwise what it holds.
  static bool is_exactly(const py::Object& bucket) { return Py_TYPE(bucket.or_none()) == py::TypeOf<DataBucket>::type; }

  py::Object get_name() const { return name_.get(); }
  void set_name(const py::Object& text);
  bool equals(const py::Object& other) const;
  Py_hash_t hash() const;
  py::Dict data() const;
  /// The name in whatever class of text it stands.
  const py::Object& name_characters() const { return name_.characters(); }
  /// The bucket's joints, or those below a joint, parents first.
  py::List get_joints(const py::Object& joint) const;

  py::Object joint, checked = py::to_python(true), opened = py::to_python(true);

  template <class V>
  void members(V& visit) {
    visit(joint);
    visit(checked);
    visit(opened);
    name_.members(visit);
  }

 private:
  LazyText name_;
};

void expose_bucket(const py::Scope& buffer);

}  // namespace heron
