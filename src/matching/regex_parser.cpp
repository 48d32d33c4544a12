#include "matching/regex_parser.h"

#include <algorithm>

#include "matching/regex_class.h"
#include "matching/utf8.h"

namespace heron {
namespace {

using Op = Instruction::Op;

constexpr std::size_t kMaxInstructions = 512;
constexpr std::size_t kNone = static_cast<std::size_t>(-1);
constexpr std::size_t kEndless = static_cast<std::size_t>(-1);

/// The anchor that a letter after a backslash names.
std::optional<Op> named_anchor(char letter) {
  switch (letter) {
    case 'A':
      return Op::kStart;
    case 'Z':
      return Op::kVeryEnd;
    case 'b':
      return Op::kWordEdge;
    default:
      return std::nullopt;
  }
}

constexpr CharacterSet all_but_line_feed() {
  CharacterSet set = CharacterSet::none();
  set.add('\n', '\n');
  return set.inverse();
}

std::ptrdiff_t distance(std::size_t from, std::size_t to) {
  return static_cast<std::ptrdiff_t>(to) - static_cast<std::ptrdiff_t>(from);
}

}  // namespace

bool RegexParser::compile(std::string_view expression, Program& program) {
  program.code.clear();
  program.choices = 0;
  if (expression.size() > kMaxExpression || !RegexParser(expression, program.code).parse()) {
    program.code.clear();
    return false;
  }
  for (Instruction& instruction : program.code) {
    if (instruction.tries()) instruction.choice = static_cast<std::uint16_t>(program.choices++);
  }
  return true;
}

bool RegexParser::parse() {
  code_.reserve(16);
  open_group();
  while (!rest_.empty()) {
    if (!parse_piece() || code_.size() > kMaxInstructions) return false;
  }
  if (depth_ != 1) return false;
  close_group();
  code_.emplace_back(Op::kMatch);
  return true;
}

// One of the signs that hold pieces together, or a piece and how often it stands.
bool RegexParser::parse_piece() {
  if (take('(')) return parse_group();
  if (take('|')) {
    begin_alternative();
    return true;
  }
  if (!parse_atom() || !parse_repeat()) return false;
  if (!atom_empty_) group().branch_empty = false;
  return true;
}

bool RegexParser::parse_atom() {
  switch (rest_.front()) {
    case ')':
      rest_.remove_prefix(1);
      return depth_ > 1 && close_group();
    case '\\':
      rest_.remove_prefix(1);
      return !rest_.empty() && parse_escape();
    case '[':
      rest_.remove_prefix(1);
      return parse_class();
    case '.':
      rest_.remove_prefix(1);
      return add(Instruction(all_but_line_feed()), false);
    case '^':
      rest_.remove_prefix(1);
      return add(Instruction(Op::kStart), true);
    case '$':
      rest_.remove_prefix(1);
      return add(Instruction(Op::kEnd), true);
    case '*':
    case '+':
    case '?':
    case '{':
      return false;  // nothing stands before it
    default:
      return parse_character();
  }
}

bool RegexParser::parse_group() {
  // Other extensions give names, look around, or change how the rest is read.
  if (take('?') && !take(':')) return false;
  return open_group();
}

bool RegexParser::parse_escape() {
  const char c = rest_.front();
  if (!utf8::is_ascii(c)) return parse_character();
  rest_.remove_prefix(1);
  if (const auto set = named_set(c)) return add(Instruction(*set), false);
  if (const auto op = named_anchor(c)) return add(Instruction(*op), true);
  const auto character = escaped_character(c);
  return character && add_character({&*character, 1});
}

bool RegexParser::parse_class() {
  const std::optional<CharacterSet> set = take_class(rest_);
  return set && add(Instruction(*set), false);
}

bool RegexParser::parse_character() {
  const std::size_t size = utf8::next(rest_, 0);
  const std::string_view bytes = rest_.substr(0, size);
  rest_.remove_prefix(size);
  return add_character(bytes);
}

bool RegexParser::parse_repeat() {
  const auto stands_next = [&] { return !rest_.empty() && std::string_view("*+?{").find(rest_.front()) < 4; };
  if (!stands_next()) return true;
  const std::optional<Repeat> times = take_repeat();
  // The runtime refuses to repeat anchors and repeats, and other repeats of the empty text are a matter of taste.
  return times && !stands_next() && !atom_empty_ && repeat(*times);
}

std::optional<RegexParser::Repeat> RegexParser::take_repeat() {
  Repeat times{0, kEndless, false};
  if (take('?')) {
    times.maximum = 1;
  } else if (take('+')) {
    times.minimum = 1;
  } else if (!take('*') && !take_counts(times)) {
    return std::nullopt;
  }
  times.lazy = take('?');
  return times;
}

// "{" that does not begin counts is a literal to the runtime, and "{,}" is "*".
bool RegexParser::take_counts(Repeat& times) {
  if (!take('{')) return false;
  const std::optional<std::size_t> minimum = take_number();
  const bool ranges = take(',');
  const std::optional<std::size_t> maximum = ranges ? take_number() : minimum;
  if (!take('}') || (!minimum && !maximum)) return false;
  times.minimum = minimum.value_or(0);
  times.maximum = maximum.value_or(kEndless);
  return times.maximum > 0 && times.minimum <= times.maximum;
}

std::optional<std::size_t> RegexParser::take_number() {
  constexpr std::size_t kMost = 1'000'000;  // more than we could repeat anything, and far from an overflow
  std::optional<std::size_t> number;
  while (!rest_.empty() && '0' <= rest_.front() && rest_.front() <= '9') {
    number = std::min(number.value_or(0) * 10 + static_cast<std::size_t>(rest_.front() - '0'), kMost);
    rest_.remove_prefix(1);
  }
  return number;
}

bool RegexParser::take(char c) {
  if (!rest_.starts_with(c)) return false;
  rest_.remove_prefix(1);
  return true;
}

bool RegexParser::open_group() {
  if (depth_ == kMaxDepth) return false;
  groups_[depth_++] = {code_.size(), code_.size(), kNone};
  last_character_ = 0;
  return true;
}

// Several alternatives are: try the first and jump out, try the second and jump out, ..., the last.
void RegexParser::begin_alternative() {
  Group& present = group();
  code_.insert(code_.begin() + distance(0, present.branch),
               Instruction(Op::kTryNext, distance(present.branch, code_.size() + 2)));
  code_.emplace_back(Op::kJump, static_cast<std::ptrdiff_t>(present.last_exit));
  present.last_exit = code_.size() - 1;
  present.branch = code_.size();
  present.other_empty |= present.branch_empty;
  present.branch_empty = true;
  last_character_ = 0;
}

bool RegexParser::close_group() {
  const Group& closed = group();
  for (std::size_t exit = closed.last_exit; exit != kNone;) {
    const auto before = static_cast<std::size_t>(std::ptrdiff_t{code_[exit].elsewhere});
    code_[exit].elsewhere = static_cast<std::int32_t>(distance(exit, code_.size()));
    exit = before;
  }
  atom_ = closed.begin;
  atom_empty_ = closed.branch_empty || closed.other_empty;
  last_character_ = 0;
  --depth_;
  return true;
}

bool RegexParser::add_character(std::string_view bytes) {
  if (last_character_ == 0 || code_.back().length + bytes.size() > Instruction::kTextSize) {
    atom_ = code_.size();
    code_.emplace_back(Op::kText);
  }
  Instruction& text = code_.back();
  std::copy(bytes.begin(), bytes.end(), text.text.begin() + text.length);
  text.length = static_cast<std::uint8_t>(text.length + bytes.size());
  last_character_ = bytes.size();
  atom_empty_ = false;
  return true;
}

bool RegexParser::add(const Instruction& instruction, bool can_be_empty) {
  atom_ = code_.size();
  atom_empty_ = can_be_empty;
  last_character_ = 0;
  code_.push_back(instruction);
  return true;
}

bool RegexParser::repeat(const Repeat& times) {
  if (last_character_ != 0 && code_.back().length > last_character_) {
    Instruction last(Op::kText);
    Instruction& text = code_.back();
    text.length = static_cast<std::uint8_t>(text.length - last_character_);
    last.length = static_cast<std::uint8_t>(last_character_);
    std::copy_n(text.text.begin() + text.length, last_character_, last.text.begin());
    atom_ = code_.size();
    code_.push_back(last);
  }
  last_character_ = 0;

  const Op skip = times.lazy ? Op::kTryJump : Op::kTryNext;   // over what may be left out
  const Op again = times.lazy ? Op::kTryNext : Op::kTryJump;  // back to what may stand once more
  const std::size_t size = code_.size() - atom_, required = std::max<std::size_t>(times.minimum, 1);
  const std::size_t copies = times.maximum == kEndless ? required : times.maximum;
  if (atom_ + (size + 1) * copies > kMaxInstructions) return false;
  const std::size_t end = atom_ + size * required + (size + 1) * (copies - required);
  const auto copy = [&] {
    for (std::size_t i = 0; i < size; ++i) code_.push_back(Instruction(code_[atom_ + i]));
  };
  for (std::size_t count = 1; count < required; ++count) copy();
  for (std::size_t count = required; count < copies; ++count) {
    code_.emplace_back(skip, distance(code_.size(), end));
    copy();
  }
  if (times.maximum == kEndless) code_.emplace_back(again, -static_cast<std::ptrdiff_t>(size));
  if (times.minimum == 0) {
    code_.insert(code_.begin() + distance(0, atom_), Instruction(skip, distance(atom_, code_.size() + 1)));
    atom_empty_ = true;
  }
  return true;
}

}  // namespace heron
