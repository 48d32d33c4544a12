#pragma once

#include <string>
#include <string_view>

#include "runtime/object.h"

namespace heron::py {

/// A Python text of these UTF-8 bytes; lone surrogates come back as they went out (see Utf8).
Object text(std::string_view bytes);

/// The same of these characters, and the characters of a Python text; lone surrogates are kept.
Object text(std::u32string_view characters);
std::u32string characters(const Object& text);  ///< TypeError unless it is text.

/// The UTF-8 bytes of a Python text, for as long as this object lives.
///
/// Mostly the bytes that the runtime keeps with the text itself, so nothing is copied. A text with lone
/// surrogates has no UTF-8; it is encoded with "surrogatepass", which keeps texts apart and in order.
class Utf8 {
 public:
  explicit Utf8(const Object& text);  ///< TypeError unless it is text.
  std::string_view view() const { return view_; }
  operator std::string_view() const { return view_; }
  std::string str() const { return std::string(view_); }

 private:
  Object owner_;
  std::string_view view_;
};

}  // namespace heron::py
