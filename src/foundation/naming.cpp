#include "foundation/naming.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

#include "foundation/constants.h"
#include "foundation/text.h"

namespace heron {
namespace {

const py::Name kLower("lower"), kStrip("strip"), kTitle("title"), kReplace("replace"), kSplit("split");
const py::Name kIsAlpha("isalpha"), kIsDecimal("isdecimal");

constexpr bool is_digit(char32_t c) { return c >= U'0' && c <= U'9'; }
constexpr bool is_latin(char32_t c) { return (c >= U'a' && c <= U'z') || (c >= U'A' && c <= U'Z'); }
constexpr bool is_word(char32_t c) { return is_latin(c) || is_digit(c) || c == U'_'; }

/// A range of code points, both bounds included.
struct Range {
  Py_ssize_t first, last;
};
constexpr std::array kLatin = {Range{32, 126}};
constexpr std::array kEnRu = {Range{32, 126}, Range{1025, 1025}, Range{1040, 1103}, Range{1105, 1105}};

py::Object keep(const py::Text& text, std::span<const Range> ranges) {
  std::u32string kept = py::characters(text);
  std::erase_if(kept, [ranges](char32_t c) {
    const auto code = static_cast<Py_ssize_t>(c);
    return std::ranges::none_of(ranges, [code](Range r) { return r.first <= code && code <= r.last; });
  });
  return to_str(py::text(kept));
}

Py_ssize_t code_point(const py::Object& value) {
  if (!PyLong_Check(value.get())) py::raise_type("_char_filter() argument 'chars' must be pairs of int");
  return PyNumber_AsSsize_t(value.get(), nullptr);  // a number beyond all code points is cut to fit
}

py::Object char_filter(const py::Text& text, const py::Object& chars) {
  std::vector<Range> ranges;
  for (const py::Object& pair : py::collect(chars)) {
    const std::vector<py::Object> bounds = py::collect(pair);
    if (bounds.size() != 2) py::raise_type("_char_filter() argument 'chars' must be pairs of int");
    ranges.push_back({code_point(bounds[0]), code_point(bounds[1])});
  }
  return keep(text, ranges);
}

struct Transliteration {
  char32_t character;
  std::u32string_view ascii;
};

/// What lower-case characters are written as in ASCII; one without an entry stays. The names of existing files
/// were made with this table, so its oddities are kept and no entry may be added.
constexpr Transliteration kTransliterations[] = {
    {U'а', U"a"}, {U'в', U"b"},  {U'г', U"g"},  {U'д', U"d"},  {U'е', U"e"},  {U'з', U"z"},
    {U'и', U"i"}, {U'й', U"i"},  {U'к', U"k"},  {U'л', U"l"},  {U'м', U"m"},  {U'н', U"n"},
    {U'о', U"o"}, {U'п', U"p"},  {U'р', U"r"},  {U'с', U"s"},  {U'т', U"t"},  {U'у', U"u"},
    {U'ф', U"f"}, {U'ц', U"ts"}, {U'ч', U"ch"}, {U'ш', U"sh"}, {U'щ', U"sh"}, {U'ы', U"y"},
    {U'ь', U""},  {U'я', U"ia"}, {U'ё', U"io"}, {U'-', U"_"},  {U'_', U" "},  {U'.', U" "},
};

std::u32string transliterated(const std::u32string& text) {
  std::u32string result;
  for (const char32_t c : text) {
    const auto* entry = std::ranges::find(kTransliterations, c, &Transliteration::character);
    if (entry != std::end(kTransliterations)) {
      result += entry->ascii;
    } else {
      result += c;
    }
  }
  return result;
}

py::Object single(char32_t c) { return py::text(std::u32string_view(&c, 1)); }

bool is_letter(char32_t c) { return c < 128 ? is_latin(c) : single(c).call(kIsAlpha).truth(); }

/// A lower-case text with a capital at the head of each run of letters. The runtime's own `title` would begin a
/// word after a letter of a script without capitals, too.
std::u32string title_case(const std::u32string& text) {
  std::u32string result;
  bool in_word = false;
  for (const char32_t c : text) {
    const bool letter = is_letter(c);
    if (letter && !in_word) {
      result += py::characters(single(c).call(kTitle));
    } else {
      result += c;
    }
    in_word = letter;
  }
  return result;
}

// The numbers at the ends of names are counted as texts of ASCII digits, as a name may carry more digits than the
// runtime converts to a number.

std::string number_of(const py::Object& digits) {
  const py::Object integer = py::Object::borrow(reinterpret_cast<PyObject*>(&PyLong_Type));
  std::string number;
  for (const char32_t c : py::characters(digits)) {
    const Py_ssize_t value =
        is_digit(c) ? static_cast<Py_ssize_t>(c - U'0') : PyLong_AsSsize_t(integer(single(c)).get());
    if (value != 0 || !number.empty()) number += static_cast<char>('0' + value);
  }
  return number.empty() ? "0" : number;
}

std::string successor(std::string number) {
  std::size_t end = number.size();
  while (end > 0 && number[end - 1] == '9') number[--end] = '0';
  if (end == 0) return "1" + number;
  ++number[end - 1];
  return number;
}

bool is_greater(const std::string& left, const std::string& right) {
  return left.size() != right.size() ? left.size() > right.size() : left > right;
}

/// What follows the last occurrence of the name, occurrences being counted from the start and not overlapping.
py::Object ending(const py::Object& text, const py::Object& name) {
  if (name.length() == 0) return text;
  const py::List pieces(text.call(kSplit, name));
  return pieces.at(pieces.size() - 1);
}

}  // namespace

bool naming::is_attribute(const py::Text& name) {
  const py::Utf8 bytes(name);
  std::string_view text = bytes;
  if (text.ends_with('\n')) text.remove_suffix(1);  // one is let through, as the `$` of an expression does
  return !text.empty() && !is_digit(static_cast<unsigned char>(text.front())) &&
         std::ranges::all_of(text, [](char c) { return is_word(static_cast<unsigned char>(c)); });
}

bool naming::is_private(const py::Text& name) {
  const py::Utf8 bytes(name);
  const std::string_view text = bytes;
  return text.starts_with("__") && text.size() > 2 && text[2] != '\n';
}

py::Object naming::force_ascii(const py::Text& name, bool title) {
  std::u32string text = transliterated(py::characters(name.call(kLower).call(kStrip)));
  if (title) text = title_case(text);
  std::ranges::replace(text, U' ', U'_');
  std::erase_if(text, [](char32_t c) { return !is_word(c); });
  return to_str(py::text(text));
}

py::Object naming::latin_filter(const py::Text& text) { return keep(text, kLatin); }
py::Object naming::en_ru_filter(const py::Text& text) { return keep(text, kEnRu); }
py::Object naming::space_filter(const py::Text& text) { return to_str(text.call(kStrip, py::text(" "))); }

py::Object naming::ghost_filter(const py::Text& text) {
  return to_str(text.call(kReplace, py::text(constants::kGhost), py::text("")));
}

py::Object naming::strip(const py::Text& name, const py::Text& chars) { return to_str(name.call(kStrip, chars)); }

bool NamesControl::exists(const py::Object& name) const { return names.contains(to_str(name)); }

py::Object NamesControl::get_names() {
  next_.reset();  // Python may change them
  return names;
}

void NamesControl::clear() {
  next_.reset();
  names.clear();
}

void NamesControl::append(const py::Object& name) {
  const py::Object added = to_str(name);
  names.add(added);
  if (next_) count(*next_, added);
}

void NamesControl::remove(const py::Object& name) {
  next_.reset();
  names.discard(to_str(name));
}

void NamesControl::rename(const py::Object& from, const py::Object& to) {
  const py::Object name = to_str(to);
  name.hash();  // what cannot be kept is refused before anything goes
  remove(from);
  names.add(name);
}

py::Object NamesControl::get_init(const py::Object& name) {
  if (!exists(name)) return to_str(name);
  if (!name.is_text()) py::raise_type("get_init() argument 'name' must be str to be numbered, not " + name.type_name());
  return get_next(py::Text(name));
}

py::Object NamesControl::get_next(const py::Text& name) {
  const std::string wanted = py::Utf8(name).str();
  const bool is_held = Py_REFCNT(names.get()) > 1;
  if (is_held || !next_ || next_->name != wanted) {
    Next next{wanted, "0"};
    for (const py::Object& alike : get_alike(name).items()) count(next, alike);
    next_ = std::move(next);
  }
  return to_str(py::Object::steal(PyUnicode_Concat(name.get(), py::text(next_->number).get())));
}

void NamesControl::count(Next& next, const py::Object& known) const {
  if (!known.is_text() || py::Utf8(known).view().find(next.name) == std::string_view::npos) return;
  const py::Object digits = ending(known, py::text(next.name));
  if (!digits.call(kIsDecimal).truth()) return;
  const std::string number = successor(number_of(digits));
  if (is_greater(number, next.number)) next.number = number;
}

py::List NamesControl::get_alike(const py::Text& name) const {
  py::List alike;
  for (const py::Object& known : py::collect(names)) {
    if (known.is_text() && py::checked(PyUnicode_Contains(known.get(), name.get())) != 0) alike.append(known);
  }
  py::checked(PyList_Sort(alike.get()));  // the set's own order differs from run to run
  return alike;
}

void expose_naming(const py::Scope& module) {
  const py::Scope scope = py::make_namespace(module, "_Naming", "What counts as a name, and what is made of one.");
  py::function<&naming::is_attribute>(scope, "is_attribute", {"name"},
                                      "True for ASCII letters, digits and underscores with no digit first.");
  py::function<&naming::is_private>(scope, "is_private", {"name"},
                                    "True for two underscores first and at least one character after them.");
  py::function<&naming::force_ascii>(
      scope, "force_ascii", {"name", {"title", false}},
      "The name in ASCII letters, digits and underscores, as files are named.\n\n"
      "It becomes lower-case, Russian letters are written in Latin ones, and spaces, hyphens, underscores and full "
      "stops become underscores; what is left over vanishes. With `title` each word begins with a capital. The result "
      "may be empty.");
  py::function<&naming::latin_filter>(scope, "latin_filter", {"text"}, "The printable ASCII of the text.");
  py::function<&naming::en_ru_filter>(scope, "en_ru_filter", {"text"},
                                      "The printable ASCII and the letters of the Russian alphabet of the text.");
  py::function<&char_filter>(
      scope, "_char_filter", {"text", "chars"},
      "The characters of the text whose code point lies in one of the pairs of `chars`, both bounds included.");
  py::function<&naming::space_filter>(scope, "space_filter", {"text"},
                                      "The text without spaces at its ends; other white space stays.");
  py::function<&naming::ghost_filter>(scope, "ghost_filter", {"text"},
                                      "The text without the word \"ghost\", wherever it stands.");
  py::function<&naming::strip>(scope, "strip", {"name", "chars"}, "The name without any of `chars` at its ends.");

  py::Class<NamesControl>(module, "_NamesControl", "The names in use in one place; gives out free ones.")
      .copies()
      .operation<&NamesControl::clear>("clear", "Forgets all names.")
      .operation<&NamesControl::exists>("exists", {"name"}, "Whether the name is in use.")
      .operation<&NamesControl::append>("append", {"name"}, "Takes the name into use.")
      .operation<&NamesControl::remove>("remove", {"name"}, "Gives the name free; an unknown one is ignored.")
      .operation<&NamesControl::rename>("rename", {"remove", "append"},
                                        "Gives `remove` free and takes `append` into use.")
      .operation<&NamesControl::get_init>("get_init", {"name"},
                                          "The name itself if it is free, or else the name with a number.\n\n"
                                          "It is for the caller to append the result.")
      .operation<&NamesControl::get_next>("_get_next", {"name"},
                                          "The name with the number after the greatest in use, from 0 on.\n\n"
                                          "Gaps are not filled; names that merely contain this one count.")
      .operation<&NamesControl::get_alike>("_get_alike", {"name"}, "The names in use that contain this one, sorted.")
      .accessor<&NamesControl::get_names>("_names", "set[str]: The set of names in use.")
      .done();
}

}  // namespace heron
