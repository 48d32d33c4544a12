#pragma once

#include "foundation/text.h"

namespace heron {

/// A choice of a filter: a list of constants, with a label for the user.
class MaskItem {
 public:
  void init(const py::Object& elements, const py::Text& label, const py::Text& member, bool types);
  py::List elements() const { return py::List(py::object_of(*this)); }

  py::Object name = to_str(py::text("")), attr = to_str(py::text(""));
  bool mapped = false;  ///< The elements are scene types, which the host must be able to produce.

  template <class V>
  void members(V& visit) {
    visit(name);
    visit(attr);
    visit(mapped);
  }
};

/// The choices of a filter: a list of items, each also a member under its `attr`.
class MaskSet {
 public:
  void init(const py::Object& items);
  py::List items() const { return py::List(py::object_of(*this)); }

  /// Drops the items with a type that the mapping does not have. They stay members.
  void filter(const py::Object& mapping) const;
};

class GhostMask : public MaskSet {
 public:
  void init();
};

class TypeMask : public MaskSet {
 public:
  void init();
};

class ResultMask : public MaskSet {
 public:
  void init();
};

/// The filters that a front-end offers, without what the host does not have.
class Mask {
 public:
  void init(const py::Object& type_mapping);

  py::Object mapping;

  template <class V>
  void members(V& visit) {
    visit(mapping);
  }
};

void expose_masks(const py::Scope& module);

}  // namespace heron
