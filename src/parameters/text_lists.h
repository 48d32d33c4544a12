#pragma once

#include "parameters/list_input.h"

namespace heron {

/// A text with a check mark.
class TextInput {
 public:
  void init(const py::Object& content, const py::Object& is_enabled);

  py::Object str() const;
  py::Dict data() const;  ///< "text" and "enabled".
  py::Object clone() const;

  py::Object text, enabled;

  template <class V>
  void members(V& visit) {
    visit(text);
    visit(enabled);
  }
};

/// A list of texts, each with a check mark.
class TextInputList : public ListInput {
 public:
  void init(const py::Object& attr_name, const py::Object& items, const py::Object& help_text);

  py::Object text() const;
  py::Object values(bool enabled) const;  ///< The texts as a tuple: the marked ones, or all.
  void load(const py::Object& data) const;
  py::Ref<TextInput> add() const;
  py::Object clone() const;
  void build(const py::Object& items) { fill<TextInput>(items); }
};

/// A text of a list that has nothing but texts.
class TextMatch {
 public:
  void init(const py::Object& content);

  py::Dict data() const;  ///< "text".
  py::Object clone() const;

  py::Object text;

  template <class V>
  void members(V& visit) {
    visit(text);
  }
};

/// A list of texts.
class TextMatchList : public ListInput {
 public:
  void init(const py::Object& attr_name, const py::Object& items, const py::Object& help_text);

  py::Object values() const;  ///< The texts as a tuple.
  void load(const py::Object& data) const;
  py::Ref<TextMatch> add() const;
  py::Object clone() const;  ///< Without the help.
  void build(const py::Object& items) { fill<TextMatch>(items); }
};

/// Puts both lists and their elements into `Parameters`.
void expose_text_lists(const py::Scope& parameters);

}  // namespace heron
