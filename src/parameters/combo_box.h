#pragma once

#include "parameters/input.h"

namespace heron {

/// One choice of a combo box.
class ComboItem {
 public:
  void init(const py::Object& attr_name, const py::Object& text, const py::Object& selected);

  const py::Object& attr() const { return attr_; }
  const py::Object& text() const { return text_; }
  bool selected() const { return selected_; }
  void select(bool selected) { selected_ = selected; }
  py::Object clone() const;

  template <class V>
  void members(V& visit) {
    visit(attr_);
    visit(text_);
    visit(selected_);
  }

 private:
  py::Object attr_, text_;
  bool selected_ = false;
};

/// A choice of one of several items. Each is a member of the combo box under its name, too.
class ComboBox : public ParameterInput {
 public:
  void init(const py::Object& attr_name, const py::Object& items, const py::Object& label, const py::Object& help_text);

  py::Object iterate() const { return py::iterator(array.items()); }
  Py_ssize_t current_index() const;  ///< Position of the first selected item; 0 if there is none.
  py::Dict data() const;             ///< "selected_attr", or nothing where nothing can be selected.
  void load(const py::Object& data) const;
  py::Object clone() const;

  void set_selected(const py::Ref<ComboItem>& item) const;
  py::Object get_selected(bool text) const;  ///< The selected item or its text; selects one if none is.

  void build(const py::Object& items);
  py::Object ensure_selection() const;  ///< Leaves one item selected and returns it.
  py::Object select_first() const;

  py::List array;

  template <class V>
  void members(V& visit) {
    ParameterInput::members(visit);
    visit(array);
  }

 private:
  std::vector<py::Ref<ComboItem>> items() const;
  py::Object first_selected() const;  ///< Or none.
};

/// Puts `ComboBox` into `Parameters`, and its `Item`.
void expose_combo_box(const py::Scope& parameters);

}  // namespace heron
