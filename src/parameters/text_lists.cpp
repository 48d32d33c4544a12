#include "parameters/text_lists.h"

#include "foundation/text.h"
#include "parameters/names.h"

namespace heron {

void TextInput::init(const py::Object& content, const py::Object& is_enabled) {
  kinds::text({{"text", content}});
  kinds::boolean({"enabled", is_enabled});
  text = content;
  enabled = is_enabled;
}

py::Object TextInput::str() const { return format(R"(<class TextInput> enabled={} text="{}")", {enabled, text}); }

py::Dict TextInput::data() const {
  py::Dict data;
  data.set(names::kText, text);
  data.set(names::kEnabled, enabled);
  return data;
}

py::Object TextInput::clone() const { return remade(*this, {text, enabled}); }

void TextInputList::init(const py::Object& attr_name, const py::Object& items, const py::Object& help_text) {
  ParameterInput::init(attr_name, py::text(""), help_text);
  build(items);
}

py::Object TextInputList::text() const {
  static const py::Name kJoin("join");
  const py::List lines;
  lines.append(format("<class TextInputList> {}", {ParameterInput::text()}));
  for (const py::Object& element : array.items()) lines.append(format("  {}", {element}));
  return py::text("\n").call(kJoin, lines);
}

py::Object TextInputList::values(bool enabled) const {
  std::vector<py::Object> texts;
  for (py::Object& item : array.items()) {
    const py::Ref<TextInput> element(std::move(item));
    if (!enabled || element->enabled.truth()) texts.push_back(element->text);
  }
  return py::tuple(texts);
}

void TextInputList::load(const py::Object& data) const {
  const py::List elements;
  for (const py::Object& item : py::collect(data)) {
    elements.append(py::made<TextInput>(py::get(item, names::kText, py::text("")),
                                        py::get(item, names::kEnabled, py::to_python(false))));
  }
  fill<TextInput>(elements);
}

py::Ref<TextInput> TextInputList::add() const {
  auto element = py::made<TextInput>(py::text(""), py::to_python(false));
  array.append(element);
  return element;
}

py::Object TextInputList::clone() const { return remade(*this, {attr(), clones(array.items()), help_text()}); }

void TextMatch::init(const py::Object& content) {
  kinds::text({{"text", content}});
  text = content;
}

py::Dict TextMatch::data() const {
  py::Dict data;
  data.set(names::kText, text);
  return data;
}

py::Object TextMatch::clone() const { return remade(*this, {text}); }

void TextMatchList::init(const py::Object& attr_name, const py::Object& items, const py::Object& help_text) {
  ParameterInput::init(attr_name, py::text(""), help_text);
  build(items);
}

py::Object TextMatchList::values() const {
  std::vector<py::Object> texts;
  for (py::Object& item : array.items()) texts.push_back(py::Ref<TextMatch>(std::move(item))->text);
  return py::tuple(texts);
}

void TextMatchList::load(const py::Object& data) const {
  const py::List elements;
  for (const py::Object& item : py::collect(data)) {
    elements.append(py::made<TextMatch>(py::get(item, names::kText, py::text(""))));
  }
  fill<TextMatch>(elements);
}

py::Ref<TextMatch> TextMatchList::add() const {
  auto element = py::made<TextMatch>(py::text(""));
  array.append(element);
  return element;
}

py::Object TextMatchList::clone() const { return remade(*this, {attr(), clones(array.items())}); }

void expose_text_lists(const py::Scope& parameters) {
  py::Class<TextInput>(parameters, "TextInput",
                       "A text with a check mark, an element of `TextInputList`.\n\n"
                       "TypeError for a text that is not a str, and for a mark that is not a bool.")
      .copies()
      .init<&TextInput::init>({{"text", ""}, {"enabled", false}})
      .text<&TextInput::str>()
      .field<&TextInput::text>("text", "str: The text, kept as it comes.")
      .field<&TextInput::enabled>("enabled", "bool: The check mark, kept as it comes.")
      .accessor<&TextInput::data>("data", "dict[str, Any]: The JSON form, a new dict of \"text\" and \"enabled\".")
      .operation<&TextInput::clone>("clone", "A new element with the same values, checked anew.")
      .done();

  py::Class<TextInputList, ParameterInput>(parameters, "TextInputList",
                                           "A list of texts, each with a check mark. It has no label.\n\n"
                                           "Args:\n"
                                           "    items: Instances of `TextInput`, TypeError for any other object.")
      .copies()
      .init<&TextInputList::init>({"attr_name", {"items", py::tuple({})}, {"help_text", ""}})
      .text<&TextInputList::text>()
      .iterate<&TextInputList::iterate>()
      .length<&TextInputList::size>()
      .item<&TextInputList::at>()
      .operation<&TextInputList::values>("values", {{"enabled", true}},
                                         "The marked texts, or all, in order as a tuple.")
      .accessor<&TextInputList::data>("data",
                                      "list[dict[str, Any]]: The JSON form, a new list of the data of each element.")
      .operation<&TextInputList::load>(
          "load", {"data"},
          "Replaces the elements by those of a JSON form: \"text\" is empty and \"enabled\" is False where it is "
          "missing. What is wrong leaves the list as it was: TypeError for the kind of a value, AttributeError for an "
          "item that is no map.")
      .operation<&TextInputList::add>("add", "Adds an empty element without a mark; returns it.")
      .operation<&TextInputList::pop>("pop", {"index"}, "Removes the element at an index. IndexError if there is none.")
      .operation<&TextInputList::clone>("clone", "A new list of clones of the elements, with the same help.")
      .operation<&TextInputList::build>("_build", {"items"}, "Replaces the elements.")
      .readonly<&TextInputList::array>("_array", "list[Parameters.TextInput]: The elements in order.")
      .done();

  py::Class<TextMatch>(parameters, "TextMatch",
                       "A text, an element of `TextMatchList`. TypeError for a text that is not a str.")
      .copies()
      .init<&TextMatch::init>({{"text", ""}})
      .field<&TextMatch::text>("text", "str: The text, kept as it comes.")
      .accessor<&TextMatch::data>("data", "dict[str, Any]: The JSON form, a new dict of \"text\".")
      .operation<&TextMatch::clone>("clone", "A new element with the same text, checked anew.")
      .done();

  py::Class<TextMatchList, ParameterInput>(parameters, "TextMatchList",
                                           "A list of texts. It has no label.\n\n"
                                           "Args:\n"
                                           "    items: Instances of `TextMatch`, TypeError for any other object.")
      .copies()
      .init<&TextMatchList::init>({"attr_name", {"items", py::tuple({})}, {"help_text", ""}})
      .iterate<&TextMatchList::iterate>()
      .length<&TextMatchList::size>()
      .item<&TextMatchList::at>()
      .operation<&TextMatchList::values>("values", "The texts in order as a tuple.")
      .accessor<&TextMatchList::data>("data",
                                      "list[dict[str, Any]]: The JSON form, a new list of the data of each element.")
      .operation<&TextMatchList::load>(
          "load", {"data"},
          "Replaces the elements by those of a JSON form: \"text\" is empty where it is missing. What is wrong leaves "
          "the list as it was: TypeError for a text that is not a str, AttributeError for an item that is no map.")
      .operation<&TextMatchList::add>("add", "Adds an empty element; returns it.")
      .operation<&TextMatchList::pop>("pop", {"index"}, "Removes the element at an index. IndexError if there is none.")
      .operation<&TextMatchList::clone>("clone", "A new list of clones of the elements. Its help is empty.")
      .operation<&TextMatchList::build>("_build", {"items"}, "Replaces the elements.")
      .readonly<&TextMatchList::array>("_array", "list[Parameters.TextMatch]: The elements in order.")
      .done();
}

}  // namespace heron
