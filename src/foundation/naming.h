#pragma once

#include <optional>
#include <string>

#include "runtime/class.h"

namespace heron {

/// What counts as a name, and what is made of one. All of it works on characters, not on bytes.
namespace naming {

bool is_attribute(const py::Text& name);  ///< ASCII letters, digits and underscores, and no digit first.
bool is_private(const py::Text& name);    ///< Two underscores first, and something after them.

/// A free-form name as ASCII letters, digits and underscores, as files are named; perhaps empty.
py::Object force_ascii(const py::Text& name, bool title = false);

py::Object latin_filter(const py::Text& text);                  ///< Keeps printable ASCII.
py::Object en_ru_filter(const py::Text& text);                  ///< Keeps printable ASCII and the Russian alphabet.
py::Object space_filter(const py::Text& text);                  ///< Drops spaces from both ends.
py::Object ghost_filter(const py::Text& text);                  ///< Drops the word "ghost" wherever it stands.
py::Object strip(const py::Text& name, const py::Text& chars);  ///< Drops these from both ends.

}  // namespace naming

/// The names in use in one place; gives out free ones by numbering.
class NamesControl {
 public:
  void clear();
  bool exists(const py::Object& name) const;
  void append(const py::Object& name);
  void remove(const py::Object& name);  ///< Nothing happens if there is no such name.
  void rename(const py::Object& from, const py::Object& to);

  /// The name itself if it is free, or else a numbered one. It is for the caller to `append` it.
  py::Object get_init(const py::Object& name);
  py::Object get_next(const py::Text& name);       ///< The name with the next number.
  py::List get_alike(const py::Text& name) const;  ///< The names that contain this one, sorted.
  py::Object get_names();

  py::Set names;

  template <class V>
  void members(V& visit) {
    visit(names);
  }

 private:
  /// The number that comes next after a name. One is remembered: where many equal names are appended, each would else
  /// look at all those before it.
  struct Next {
    std::string name, number;
  };

  void count(Next& next, const py::Object& known) const;

  std::optional<Next> next_;
};

void expose_naming(const py::Scope& module);

}  // namespace heron
