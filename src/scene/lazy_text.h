#pragma once

#include "foundation/text.h"

namespace heron {

/// A text that Python sees as the system's own, made into that when somebody asks. A scan fills hundreds of thousands
/// of them that nobody looks at: that saves 150 bytes and 0.1 us for each.
class LazyText {
 public:
  /// Text becomes the system's own; any other value stays as it is.
  static LazyText of(const py::Object& value) {
    const bool plain = value && PyUnicode_CheckExact(value.get());
    return LazyText(plain ? value : to_str(value), plain);
  }
  /// The very value.
  static LazyText exactly(const py::Object& value) { return LazyText(value, false); }

  LazyText() = default;

  const py::Object& get() const {
    if (plain_) value_ = to_str(value_);
    plain_ = false;
    return value_;
  }
  /// The same characters, in whatever class of text they stand.
  const py::Object& characters() const { return value_; }
  template <class V>
  void members(V& visit) {
    visit(value_);
    visit(plain_);
  }

 private:
  LazyText(const py::Object& value, bool plain) : value_(value), plain_(plain) {}

  mutable py::Object value_;
  mutable bool plain_ = false;
};

}  // namespace heron
