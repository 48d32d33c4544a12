#include "foundation/naming.h"

#include <algorithm>
#include <array>
#include <string>

#include "foundation/constants.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kLower("lower"), kStrip("strip"), kTitle("title"), kReplace("replace"), kTranslate("translate");
const py::Name kSplit("split"), kIsDecimal("isdecimal"), kMatch("match"), kSubstitute("sub");

bool matches(const char* expression, const py::Object& text) {
  return !py::modules::re.call(kMatch, py::text(expression), text).is_none();
}

/// Code point to text. What has no entry stays, and falls away later with all that is not ASCII.
const py::Dict& transliteration() {
  struct Entry {
    int code;
    const char* text;
  };
  static constexpr std::array<Entry, 30> kTable = {{
      {1072, "a"}, {1074, "b"}, {1075, "g"}, {1076, "d"}, {1077, "e"},  {1079, "z"},  {1080, "i"},  {1081, "i"},
      {1082, "k"}, {1083, "l"}, {1084, "m"}, {1085, "n"}, {1086, "o"},  {1087, "p"},  {1088, "r"},  {1089, "s"},
      {1090, "t"}, {1091, "u"}, {1092, "f"}, {45, "_"},   {1094, "ts"}, {1095, "ch"}, {1096, "sh"}, {1097, "sh"},
      {1099, "y"}, {1100, ""},  {1103, "ia"}, {1105, "io"}, {95, " "},  {46, " "},
  }};
  static const auto* table = [] {
    auto* made = new py::Dict;
    for (const Entry& entry : kTable) made->set(py::to_python(entry.code), py::text(entry.text));
    return made;
  }();
  return *table;
}

/// The first code point of a text in UTF-8, and the number of bytes it takes.
std::pair<std::uint32_t, std::size_t> first_character(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
  const auto rest = [&](std::size_t i) { return byte(i) & 0x3FU; };
  if (byte(0) < 0x80U) return {byte(0), 1};
  if (byte(0) < 0xE0U) return {(byte(0) & 0x1FU) << 6U | rest(1), 2};
  if (byte(0) < 0xF0U) return {(byte(0) & 0x0FU) << 12U | rest(1) << 6U | rest(2), 3};
  return {(byte(0) & 0x07U) << 18U | rest(1) << 12U | rest(2) << 6U | rest(3), 4};
}

/// The characters whose code points `allowed` says yes to.
template <class A>
py::Object keep_characters(const py::Text& text, A&& allowed) {
  const py::Utf8 bytes(text);
  std::string kept;
  for (std::string_view left = bytes; !left.empty();) {
    const auto [code, size] = first_character(left);
    if (allowed(code)) kept.append(left, 0, size);
    left.remove_prefix(size);
  }
  return to_str(py::text(kept));
}

bool is_printable_ascii(std::uint32_t code) { return code >= 32 && code <= 126; }
bool is_russian(std::uint32_t code) { return code == 1025 || (code >= 1040 && code <= 1103) || code == 1105; }

py::Object char_filter(const py::Text& text, const py::Object& chars) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges;
  for (const py::Object& pair : py::collect(chars)) {
    const std::vector<py::Object> bounds = py::collect(pair);
    if (bounds.size() != 2) py::raise_value("_char_filter() takes pairs of code points");
    const auto bound = [](const py::Object& number) {
      const Py_ssize_t value = PyNumber_AsSsize_t(number.get(), nullptr);
      if (value == -1 && PyErr_Occurred() != nullptr) throw py::Error();
      return static_cast<std::uint32_t>(std::clamp<Py_ssize_t>(value, 0, 0x7FFFFFFF));
    };
    ranges.emplace_back(bound(bounds[0]), bound(bounds[1]));
  }
  return keep_characters(text, [&](std::uint32_t code) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const auto& range) { return range.first <= code && code <= range.second; });
  });
}

}  // namespace

bool naming::is_attribute(const py::Text& name) {
  return !matches("^\\d.*$", name) && matches("^[A-Za-z_0-9]+$", name);
}

bool naming::is_private(const py::Text& name) { return matches("^__.+", name); }

py::Object naming::force_ascii(const py::Text& name, bool title) {
  py::Object text = name.call(kLower).call(kStrip).call(kTranslate, transliteration());
  if (title) text = text.call(kTitle);
  text = text.call(kReplace, py::text(" "), py::text("_"));
  return to_str(py::modules::re.call(kSubstitute, py::text("[^A-Za-z_0-9]"), py::text(""), text));
}

py::Object naming::latin_filter(const py::Text& text) { return keep_characters(text, is_printable_ascii); }

py::Object naming::en_ru_filter(const py::Text& text) {
  return keep_characters(text, [](std::uint32_t code) { return is_printable_ascii(code) || is_russian(code); });
}

py::Object naming::space_filter(const py::Text& text) { return to_str(text.call(kStrip, py::text(" "))); }

py::Object naming::ghost_filter(const py::Text& text) {
  return to_str(text.call(kReplace, py::text(constants::kGhost), py::text("")));
}

py::Object naming::strip(const py::Text& name, const py::Text& chars) { return to_str(name.call(kStrip, chars)); }

bool NamesControl::exists(const py::Object& name) const {
  return names.contains(to_str(name));
}

void NamesControl::append(const py::Object& name) const {
  names.add(to_str(name));
}

void NamesControl::remove(const py::Object& name) const {
  names.discard(to_str(name));
}

void NamesControl::rename(const py::Object& removed, const py::Object& appended) const {
  remove(removed);
  append(appended);
}

py::Object NamesControl::get_init(const py::Object& name) const {
  return exists(name) ? get_next(py::Text(name)) : to_str(name);
}

py::Object NamesControl::get_next(const py::Text& name) const {
  const py::Object one = py::to_python(1);
  py::Object index = py::to_python(0);
  for (const py::Object& alike : get_alike(name).items()) {
    // An empty name stands between any two characters and cannot be split at; what follows it is the whole text.
    const py::List pieces(name.truth() ? alike.call(kSplit, name) : py::Object::steal(PyList_New(0)));
    const py::Object last = pieces.empty() ? alike : pieces.at(pieces.size() - 1);
    if (!last.call(kIsDecimal).truth()) continue;
    PyObject* number = PyNumber_Long(last.get());
    if (number == nullptr) {
      // More digits than the runtime turns into a number: no name that this register gave out.
      if (PyErr_ExceptionMatches(PyExc_ValueError) == 0) throw py::Error();
      PyErr_Clear();
      continue;
    }
    const py::Object following =
        py::Object::steal(PyNumber_Add(py::Object::steal(number).get(), one.get()));
    if (py::checked(PyObject_RichCompareBool(following.get(), index.get(), Py_GT)) != 0) index = following;
  }
  return to_str(py::Object::steal(PyNumber_Add(name.get(), py::Object::steal(PyObject_Str(index.get())).get())));
}

py::List NamesControl::get_alike(const py::Text& name) const {
  py::List alike;
  for (const py::Object& known : py::collect(names)) {
    if (known.is_text() && py::checked(PyUnicode_Contains(known.get(), name.or_none())) != 0) alike.append(known);
  }
  py::checked(PyList_Sort(alike.get()));
  return alike;
}

void expose_naming(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(module, "_Naming", "Operations on names.");
  py::function<&naming::is_attribute>(scope, "is_attribute", {"name"},
                                      "Letters of ASCII, digits and low lines only, and no digit first?");
  py::function<&naming::is_private>(scope, "is_private", {"name"}, "Two low lines first, and something after them?");
  py::function<&naming::force_ascii>(
      scope, "force_ascii", {"name", {"title", false}},
      "A name for files: lower case, Cyrillic letters transliterated, blanks, hyphens and full stops as low lines,\n"
      "everything else dropped. The result can be empty. title: each word with a capital.");
  py::function<&naming::latin_filter>(scope, "latin_filter", {"text"}, "The printable ASCII characters of a text.");
  py::function<&naming::en_ru_filter>(scope, "en_ru_filter", {"text"},
                              "The printable ASCII characters and Russian letters of a text.");
  py::function<&char_filter>(scope, "_char_filter", {"text", "chars"},
                             "The characters of a text within one of these (first, last) pairs of code points.");
  py::function<&naming::space_filter>(scope, "space_filter", {"text"}, "The text without blanks at its ends.");
  py::function<&naming::ghost_filter>(scope, "ghost_filter", {"text"}, "The text without any \"ghost\".");
  py::function<&naming::strip>(scope, "strip", {"name", "chars"}, "The name without any of these characters at its ends.");

  py::Class<NamesControl>(module, "_NamesControl", "A register of names in use, which hands out free ones.")
      .operation<&NamesControl::clear>("clear", "Empties the register.")
      .operation<&NamesControl::exists>("exists", {"name"}, "Is the name in use?")
      .operation<&NamesControl::append>("append", {"name"}, "Registers a name.")
      .operation<&NamesControl::remove>("remove", {"name"}, "Frees a name, if it is in use.")
      .operation<&NamesControl::rename>("rename", {"remove", "append"}, "Frees one name and registers another.")
      .operation<&NamesControl::get_init>("get_init", {"name"},
                                          "The name if it is free, otherwise one with the next number. Not registered.")
      .operation<&NamesControl::get_next>(
          "_get_next", {"name"},
          "The name with a number after it: one more than the greatest that follows it in a registered name, or 0.\n"
          "A number too long for the runtime to read does not count.")
      .operation<&NamesControl::get_alike>("_get_alike", {"name"}, "The registered names that contain this one, sorted.")
      .readonly<&NamesControl::names>("_names", "The names in use.")
      .done();
}

}  // namespace heron
