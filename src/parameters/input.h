#pragma once

#include "runtime/class.h"

namespace heron {

/// One setting of a check or an exporter: what every kind of input has. A front-end builds its widgets from inputs.
///
/// A plug-in may derive kinds of its own in Python. So whoever holds inputs uses `attr`, `data`, `load` and `clone`
/// by name.
class ParameterInput {
 public:
  /// TypeError for a label or help that is no text; for the name see `assertions::attribute`.
  void init(const py::Object& attr_name, const py::Object& label, const py::Object& help_text);

  const py::Object& attr() const { return attr_; }
  const py::Object& label() const { return label_; }
  const py::Object& help_text() const { return help_text_; }
  py::Object text() const;

  // Left to each kind of input: NotImplementedError.
  py::Object data() const;
  void load(const py::Object& data);
  py::Object clone() const;

  template <class V>
  void members(V& visit) {
    visit(attr_);
    visit(label_);
    visit(help_text_);
  }

 private:
  py::Object attr_, label_, help_text_;
};

/// A new instance of the class of the original, for its clone to fill. That class may be derived in Python; its
/// constructor is not called then, as it may take anything.
template <class T>
py::Ref<T> of_same_class(const T& original) {
  PyTypeObject* type = Py_TYPE(py::object_of(original).get());
  return py::Ref<T>(py::Object::steal(py::new_instance(type, nullptr, py::TypeOf<T>::layout)));
}

/// How an input is made: its exposed class, and what the constructor of that takes.
struct Remaking {
  PyTypeObject* type;
  const py::Layout& layout;
  const py::Signature& signature;
};

/// A new instance of the class of the original, made by its constructor with these arguments for those of the exposed
/// class, which `Remaking` tells. Without it where the constructor of a derived class takes other arguments.
py::Object remade(const py::Object& original, const Remaking& how, const std::vector<py::Object>& arguments);

template <class T>
py::Object remade(const T& original, const std::vector<py::Object>& arguments) {
  const Remaking how{py::TypeOf<T>::type, py::TypeOf<T>::layout, *py::detail::Operation<T, &T::init>::signature};
  return remade(py::object_of(original), how, arguments);
}

/// Makes something a member of an instance of this class. AttributeError if the class itself has a member of that name:
/// one would hide the other.
void add_member(const py::Object& holder, PyTypeObject* type, const py::Object& name, const py::Object& value);

/// The clones of these inputs, or of what else has `clone`, as a tuple.
py::Object clones(const std::vector<py::Object>& originals);

void expose_input(const py::Scope& parameters);

}  // namespace heron
