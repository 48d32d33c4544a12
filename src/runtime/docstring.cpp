#include "runtime/docstring.h"

#include <algorithm>
#include <utility>

namespace heron::py {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kHanging = 4;  // how much further the second line of an indented one begins

/// Puts words one after another, and begins a new line where the next one would not fit.
class Filler {
 public:
  void end_line() {
    text_ += '\n';
    column_ = 0;
  }

  void begin_line(std::size_t indent) {
    if (column_ > 0) end_line();
    text_.append(indent, ' ');
    column_ = indent;
  }

  void add_words(std::string_view line, std::size_t indent) {
    while (!line.empty()) {
      const std::string_view word = line.substr(0, line.find(' '));
      add_word(word, indent);
      line.remove_prefix(std::min(word.size() + 1, line.size()));
    }
  }

  void add_line(std::string_view line) {
    begin_line(0);
    text_ += line;
    column_ = line.size();
  }

  bool at_start() const { return column_ == 0; }
  std::string take() { return std::move(text_); }

 private:
  void add_word(std::string_view word, std::size_t indent) {
    const bool first = column_ == 0 || text_.back() == ' ';
    if (!first && column_ + 1 + word.size() > kWidth) {
      begin_line(indent);
    } else if (!first) {
      text_ += ' ';
      ++column_;
    }
    text_ += word;
    column_ += word.size();
  }

  std::string text_;
  std::size_t column_ = 0;
};

}  // namespace

std::string fill_docstring(std::string_view text) {
  Filler filler;
  bool in_paragraph = false;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
    if (line.empty()) {
      if (!filler.at_start()) filler.end_line();
      filler.end_line();
    } else if (indent > 0 && line.size() <= kWidth) {
      filler.add_line(line);
    } else if (indent > 0) {
      filler.begin_line(indent);
      filler.add_words(line.substr(indent), indent + kHanging);
    } else {
      if (!in_paragraph) filler.begin_line(0);
      filler.add_words(line, 0);
    }
    in_paragraph = !line.empty() && indent == 0;
  }
  return filler.take();
}

}  // namespace heron::py
