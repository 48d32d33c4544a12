#include "files/json_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vector>

#include "runtime/containers.h"
#include "runtime/finally.h"
#include "runtime/modules.h"
#include "runtime/text.h"

namespace heron::json_writer {
namespace {

/// What was not handed to the sink yet.
class Buffer {
 public:
  explicit Buffer(const Sink& sink) : sink_(sink) {}

  void put(std::string_view text) {
    if (text.size() > kSize - used_) flush();
    if (text.size() > kSize) {
      sink_(text);
    } else {
      used_ += text.copy(buffer_.data() + used_, text.size());
    }
  }

  void put(char character) {
    put(1, [character](char* at) {
      *at = character;
      return at + 1;
    });
  }

  /// Has `write(char* at)` put up to so many bytes, and return their end.
  template <class F>
  void put(std::size_t most, F&& write) {
    if (most > kSize - used_) flush();
    used_ = static_cast<std::size_t>(write(buffer_.data() + used_) - buffer_.data());
  }

  void flush() {
    const std::size_t size = std::exchange(used_, 0);
    if (size > 0) sink_({buffer_.data(), size});
  }

 private:
  static constexpr std::size_t kSize = 1 << 16;

  const Sink& sink_;
  std::vector<char> buffer_ = std::vector<char>(kSize);
  std::size_t used_ = 0;
};

/// What a character is written as: itself for 0, or a letter behind a backslash, of which "u" stands for its number.
constexpr std::array<char, 256> escapes() {
  std::array<char, 256> escapes{};
  for (std::size_t control = 0; control < ' '; ++control) escapes[control] = 'u';
  constexpr std::string_view kCharacters = "\"\\\b\f\n\r\t", kLetters = "\"\\bfnrt";
  for (std::size_t i = 0; i < kLetters.size(); ++i) escapes[static_cast<unsigned char>(kCharacters[i])] = kLetters[i];
  return escapes;
}

constexpr std::array<char, 256> kEscapes = escapes();

char* put_escape(char* at, unsigned char character) {
  *at++ = '\\';
  *at++ = kEscapes[character];
  if (kEscapes[character] != 'u') return at;
  for (const char digit : {'0', '0', "01"[character / 16], "0123456789abcdef"[character % 16]}) *at++ = digit;
  return at;
}

/// Values are held while they are written: a derived class, a signal or the sink may run Python code, and the sink may
/// let other threads run.
class Writer {
 public:
  explicit Writer(const Sink& sink) : buffer_(sink) {}

  void value(PyObject* value);
  void flush() { buffer_.flush(); }

 private:
  bool plain(PyObject* value);
  void text(PyObject* text);
  void integer(PyObject* number);
  void real(PyObject* number);
  void list(const py::Object& list);
  void map(const py::Object& map);
  void members(const py::Object& map);
  void member(PyObject* name, PyObject* value);
  void key(PyObject* name);
  void other(const py::Object& value);
  void next_line();

  Buffer buffer_;
  std::vector<PyObject*> open_;  // what the present value stands in, from the outermost on
  bool is_first_ = true;         // in the innermost of these
};

void Writer::value(PyObject* value) {
  if (plain(value)) return;
  const py::Depth depth(" while a document is written");
  const py::Object held = py::Object::borrow(value);
  py::checked(PyErr_CheckSignals());  // a document that shares its parts may take for ever
  const bool is_list = PyList_Check(value) || PyTuple_Check(value);
  if (!is_list && !PyDict_Check(value)) {
    other(held);
  } else if (!held.truth()) {
    buffer_.put(is_list ? "[]" : "{}");
  } else {
    if (std::ranges::find(open_, value) != open_.end()) py::raise_value("Circular reference detected");
    buffer_.put(is_list ? '[' : '{');
    open_.push_back(value);
    is_first_ = true;
    is_list ? list(held) : map(held);
    open_.pop_back();
    is_first_ = true;  // so that no comma comes before the bracket
    next_line();
    buffer_.put(is_list ? ']' : '}');
  }
}

/// Writes what holds no values; false for anything else.
bool Writer::plain(PyObject* value) {
  if (PyUnicode_Check(value)) {
    text(value);
  } else if (value == Py_None) {
    buffer_.put("null");
  } else if (value == Py_True) {
    buffer_.put("true");
  } else if (value == Py_False) {
    buffer_.put("false");
  } else if (PyLong_Check(value)) {
    integer(value);
  } else if (PyFloat_Check(value)) {
    real(value);
  } else {
    return false;
  }
  return true;
}

void Writer::text(PyObject* text) {
  constexpr std::size_t kSlice = 1 << 10, kLongest = 6;  // bytes, and for one of them
  Py_ssize_t size = 0;
  const char* const bytes = PyUnicode_AsUTF8AndSize(text, &size);
  if (bytes == nullptr) throw py::Error();
  std::string_view left(bytes, static_cast<std::size_t>(size));
  buffer_.put('"');
  while (!left.empty()) {
    const std::string_view slice = left.substr(0, kSlice);
    buffer_.put(kLongest * slice.size(), [&](char* at) {
      for (const char c : slice) {
        const auto byte = static_cast<unsigned char>(c);
        if (kEscapes[byte] == 0) {
          *at++ = c;
        } else {
          at = put_escape(at, byte);
        }
      }
      return at;
    });
    left.remove_prefix(slice.size());
  }
  buffer_.put('"');
}

void Writer::integer(PyObject* number) {
  int overflow = 0;
  const long long small = PyLong_AsLongLongAndOverflow(number, &overflow);
  if (overflow == 0) {
    constexpr std::size_t kMost = 24;
    buffer_.put(kMost, [&](char* at) { return std::to_chars(at, at + kMost, small).ptr; });
  } else {
    constexpr int kDecimal = 10;
    buffer_.put(py::Utf8(py::Object::steal(PyNumber_ToBase(number, kDecimal))));
  }
}

/// The shortest digits that read back as the same number, in the runtime's manner.
void Writer::real(PyObject* number) {
  constexpr double kFixedFrom = 1e-4, kFixedTo = 1e16;
  const double value = PyFloat_AsDouble(number), size = std::abs(value);
  if (std::isnan(value)) return buffer_.put("NaN");
  if (std::isinf(value)) return buffer_.put(value < 0 ? "-Infinity" : "Infinity");
  const bool is_fixed = value == 0 || (size >= kFixedFrom && size < kFixedTo);
  const auto format = is_fixed ? std::chars_format::fixed : std::chars_format::scientific;
  constexpr std::size_t kMost = 32;
  buffer_.put(kMost, [&](char* at) {
    char* const end = std::to_chars(at, at + kMost, value, format).ptr;
    if (!is_fixed || std::find(at, end, '.') != end) return end;
    end[0] = '.';
    end[1] = '0';
    return end + 2;
  });
}

// What a derived class gives when it is walked over counts, as it does for the runtime's encoder.

void Writer::list(const py::Object& list) {
  for (const py::Object& element : py::collect(list)) {
    next_line();
    value(element.get());
  }
}

void Writer::map(const py::Object& map) {
  static const py::Name kItems("items");
  if (PyDict_CheckExact(map.get())) {
    members(map);
    return;
  }
  for (const py::Object& item : py::collect(map.call(kItems))) {
    const std::vector<py::Object> pair = py::collect(item);
    if (pair.size() != 2) py::raise_value("members of a map must be pairs");
    member(pair[0].get(), pair[1].get());
  }
}

void Writer::members(const py::Object& map) {
  const Py_ssize_t size = PyDict_Size(map.get());
  PyObject *name = nullptr, *value = nullptr;
  for (Py_ssize_t position = 0; PyDict_Next(map.get(), &position, &name, &value) != 0;) {
    const py::Object held_name = py::Object::borrow(name), held_value = py::Object::borrow(value);
    member(name, value);
    if (PyDict_Size(map.get()) != size) py::raise(PyExc_RuntimeError, "dictionary changed size during iteration");
  }
}

void Writer::member(PyObject* name, PyObject* value) {
  next_line();
  key(name);
  buffer_.put(':');
  buffer_.put(' ');
  this->value(value);
}

void Writer::key(PyObject* name) {
  if (PyUnicode_Check(name)) return text(name);
  buffer_.put('"');
  if (!plain(name))
    py::raise_type("keys must be str, int, float, bool or None, not " + py::Object::borrow(name).type_name());
  buffer_.put('"');
}

/// Mostly this raises the error; but a program may have taught the runtime's encoder to stand something in for such.
void Writer::other(const py::Object& value) {
  static const py::Name kEncoder("JSONEncoder"), kDefault("default");
  this->value(py::modules::json.attr(kEncoder)().call(kDefault, value).get());
}

void Writer::next_line() {
  constexpr std::size_t kSpaces = 2;
  const std::size_t spaces = kSpaces * open_.size();
  const bool is_first = std::exchange(is_first_, false);
  buffer_.put(2 + spaces, [&](char* at) {
    if (!is_first) *at++ = ',';
    *at++ = '\n';
    return std::fill_n(at, spaces, ' ');
  });
}

}  // namespace

void write(const py::Object& document, const Sink& sink) {
  Writer writer(sink);
  py::finally([&] { writer.value(document.or_none()); }, [&] { writer.flush(); });
}

std::string bytes(const py::Object& document) {
  std::string all;
  write(document, [&](std::string_view piece) { all += piece; });
  return all;
}

}  // namespace heron::json_writer
