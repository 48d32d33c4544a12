#include "parameters/combo_box.h"

#include "foundation/assertions.h"
#include "foundation/errors.h"
#include "parameters/kinds.h"
#include "parameters/names.h"

namespace heron {

void ComboItem::init(const py::Object& attr_name, const py::Object& text, const py::Object& selected) {
  assertions::attribute(attr_name);
  kinds::text({{"text", text}});
  kinds::boolean({"selected", selected});
  attr_ = attr_name;
  text_ = text;
  selected_ = selected.truth();
}

py::Object ComboItem::clone() const { return remade(*this, {attr_, text_, py::to_python(selected_)}); }

void ComboBox::init(const py::Object& attr_name, const py::Object& items, const py::Object& label,
                    const py::Object& help_text) {
  ParameterInput::init(attr_name, label, help_text);
  build(items);
  ensure_selection();
}

std::vector<py::Ref<ComboItem>> ComboBox::items() const {
  std::vector<py::Ref<ComboItem>> items;
  for (py::Object& item : array.items()) items.emplace_back(std::move(item));
  return items;
}

py::Object ComboBox::first_selected() const {
  for (const auto& item : items()) {
    if (item->selected()) return item;
  }
  return {};
}

Py_ssize_t ComboBox::current_index() const { return array.find(first_selected()).value_or(0); }

py::Dict ComboBox::data() const {
  py::Dict data;
  const py::Object selected = get_selected(false);
  if (!selected.is_none()) data.set(names::kSelectedAttr, py::Ref<ComboItem>(selected)->attr());
  return data;
}

void ComboBox::load(const py::Object& data) const {
  const py::Object wanted = py::get(data, names::kSelectedAttr);
  for (const auto& item : items()) {
    if (item->attr().equals(wanted)) return set_selected(item);
  }
}

py::Object ComboBox::clone() const { return remade(*this, {attr(), clones(array.items()), label(), help_text()}); }

void ComboBox::set_selected(const py::Ref<ComboItem>& item) const {
  item->select(true);
  for (const auto& other : items()) {
    if (!other.is(item)) other->select(false);
  }
}

py::Object ComboBox::get_selected(bool text) const {
  py::Object selected = first_selected();
  if (!selected) selected = ensure_selection();
  if (!text) return selected;
  return selected.is_none() ? py::text("") : py::Ref<ComboItem>(selected)->text();
}

void ComboBox::build(const py::Object& items) {
  const py::Object self = py::object_of(*this);
  const std::vector<py::Object> given = py::collect(items);  // may be those of the array itself
  array.clear();
  const py::Set seen;
  for (const py::Object& item : given) {
    kinds::instance<ComboItem>({"items", item});
    const py::Object attr = py::Ref<ComboItem>(item)->attr();
    if (seen.contains(attr)) errors::raise<errors::AttributeNameRepeat>();
    array.append(item);
    seen.add(attr);
    add_member(self, py::TypeOf<ComboBox>::type, attr, item);
  }
}

py::Object ComboBox::ensure_selection() const {
  py::Object found;
  for (const auto& item : items()) {
    if (found) {
      item->select(false);
    } else if (item->selected()) {
      found = item;
    }
  }
  return found ? found : select_first();
}

py::Object ComboBox::select_first() const {
  const auto all = items();
  for (const auto& item : all) item->select(item.is(all.front()));
  if (all.empty()) return py::Object::none();
  return all.front();
}

void expose_combo_box(const py::Scope& parameters) {
  const py::Scope scope =
      py::Class<ComboBox, ParameterInput>(
          parameters, "ComboBox",
          "A choice of one of several items, each of which is a member under its own name, too.\n\n"
          "Args:\n"
          "    items: Instances of `Item`; the first that is selected stays so, the first of all if none is.\n\n"
          "TypeError for any other object among them, Error.AttributeNameRepeat for two of one name, AttributeError "
          "for one named like a member of the class. A loop gives the items in order.")
          .copies()
          .init<&ComboBox::init>({"attr_name", "items", {"label", ""}, {"help_text", ""}})
          .iterate<&ComboBox::iterate>()
          .accessor<&ComboBox::current_index>("current_index",
                                              "int: The position of the first selected item, from 0; 0 if none is.")
          .accessor<&ComboBox::data>(
              "data", "dict[str, Any]: The JSON form, a new dict of \"selected_attr\"; an empty one without items.")
          .operation<&ComboBox::load>(
              "load", {"data"},
              "Selects the item that \"selected_attr\" names; if there is none, nothing changes.\n\n"
              "AttributeError unless the data are a mapping.")
          .operation<&ComboBox::clone>("clone", "A new combo box of clones of the items.")
          .operation<&ComboBox::set_selected>("set_selected", {"item"},
                                              "Selects an item, which need not be one of these, and no other of these.")
          .operation<&ComboBox::get_selected>(
              "get_selected", {{"text", false}},
              "The selected item, or its text; None, or the empty text, without items.\n\n"
              "If no item is selected, the first is from now on.")
          .operation<&ComboBox::build>("_build", {"items"}, "Replaces the items.")
          .operation<&ComboBox::ensure_selection>(
              "_ensure_selection", "Leaves the first selected item, or else the first item, as the one selected.")
          .operation<&ComboBox::select_first>("_select_first", "Selects the first item and no other.")
          .readonly<&ComboBox::array>("_array", "list[Parameters.ComboBox.Item]: The items in order.")
          .done();

  py::Class<ComboItem>(scope, "Item",
                       "One choice of a combo box.\n\n"
                       "Args:\n"
                       "    attr_name: Its identifier.\n"
                       "    text: What is shown.\n\n"
                       "TypeError for a text that is not a str and for a `selected` that is not a bool; a bad name is "
                       "refused as that of an input is.")
      .copies()
      .init<&ComboItem::init>({"attr_name", {"text", ""}, {"selected", false}})
      .accessor<&ComboItem::attr>("attr", "str: The identifier of the item.")
      .accessor<&ComboItem::text>("text", "str: What is shown.")
      .accessor<&ComboItem::selected>("selected", "bool: Whether the item is the selected one.")
      .accessor<&ComboItem::attr>("_attr", "str: The stored `attr`.")
      .accessor<&ComboItem::text>("_text", "str: The stored `text`.")
      .accessor<&ComboItem::selected>("_selected", "bool: The stored `selected`.")
      .operation<&ComboItem::clone>("clone", "A new item with the same fields.")
      .done();
}

}  // namespace heron
