#pragma once

#include "parameters/input.h"
#include "parameters/kinds.h"

namespace heron {

/// An input whose value is a list of elements, which the user makes longer and shorter.
class ListInput : public ParameterInput {
 public:
  py::List data() const;  ///< The data of each element.
  py::Object iterate() const { return py::iterator(array.items()); }
  Py_ssize_t size() const { return array.size(); }
  py::Object at(const py::Object& key) const { return array.item(key); }
  void pop(const py::Object& index) const;

  py::List array;

  template <class V>
  void members(V& visit) {
    ParameterInput::members(visit);
    visit(array);
  }

 protected:
  /// Replaces the elements, each of which must be an E, and has `prepare` see each before it is entered.
  template <class E, class F>
  void fill(const py::Object& items, F&& prepare) const {
    const std::vector<py::Object> given = py::collect(items);  // may be those of the array itself
    array.clear();
    for (const py::Object& item : given) {
      kinds::instance<E>({"items", item});
      prepare(py::Ref<E>(item));
      array.append(item);
    }
  }
  template <class E>
  void fill(const py::Object& items) const {
    fill<E>(items, [](const py::Ref<E>&) {});
  }
};

}  // namespace heron
