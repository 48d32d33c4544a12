#include "runtime/text.h"

#include <bit>

namespace heron::py {

Object text(std::string_view bytes) {
  return Object::steal(PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogatepass"));
}

Object text(std::u32string_view characters) {
  // The order is told, or a leading U+FEFF would be taken for a mark of it and dropped.
  int order = std::endian::native == std::endian::little ? -1 : 1;
  return Object::steal(PyUnicode_DecodeUTF32(reinterpret_cast<const char*>(characters.data()),
                                             static_cast<Py_ssize_t>(characters.size() * sizeof(char32_t)),
                                             "surrogatepass", &order));
}

std::u32string characters(const Object& text) {
  if (!text.is_text()) raise_type(std::string("str expected, not ") + text.type_name());
  std::u32string result(static_cast<std::size_t>(text.length()), U'\0');
  static_assert(sizeof(Py_UCS4) == sizeof(char32_t));
  if (!result.empty() && PyUnicode_AsUCS4(text.get(), reinterpret_cast<Py_UCS4*>(result.data()),
                                          static_cast<Py_ssize_t>(result.size()), 0) == nullptr) {
    throw Error();
  }
  return result;
}

Utf8::Utf8(const Object& text) : owner_(text) {
  if (!text.is_text()) raise_type(std::string("str expected, not ") + text.type_name());
  Py_ssize_t size = 0;
  if (const char* bytes = PyUnicode_AsUTF8AndSize(text.get(), &size)) {
    view_ = {bytes, static_cast<std::size_t>(size)};
    return;
  }
  PyErr_Clear();
  owner_ = Object::steal(PyUnicode_AsEncodedString(text.get(), "utf-8", "surrogatepass"));
  char* bytes = nullptr;
  checked(PyBytes_AsStringAndSize(owner_.get(), &bytes, &size));
  view_ = {bytes, static_cast<std::size_t>(size)};
}

}  // namespace heron::py
