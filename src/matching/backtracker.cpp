#include "matching/backtracker.h"

#include <cstring>

#include "matching/utf8.h"

namespace heron {
namespace {

using Op = Instruction::Op;
using Others = CharacterSet::Others;

constexpr std::size_t kMaxVisits = std::size_t{1} << 20U;
constexpr std::size_t kBits = 64;

/// Can a character of the set stand at the start of the text, as far as a look at it tells?
bool may_hold(const CharacterSet& set, char byte) {
  return utf8::is_ascii(byte) ? set.contains(byte) : set.others != Others::kOut;
}

bool is_at_end(std::string_view text, std::size_t at) {
  return at == text.size() || (at + 1 == text.size() && text[at] == '\n');
}

/// False if the instruction fails here. Spares keeping a choice that would lead nowhere.
bool may_begin(const Instruction& instruction, std::string_view text, std::size_t at) {
  switch (instruction.op) {
    case Op::kText:
      return at < text.size() && text[at] == instruction.text.front();
    case Op::kSet:
      return at < text.size() && may_hold(instruction.set, text[at]);
    case Op::kEnd:
      return is_at_end(text, at);
    default:
      return true;
  }
}

}  // namespace

std::optional<bool> Backtracker::match(const Program& program, std::string_view text) {
  if (!begin(program, text)) return std::nullopt;
  const Outcome outcome = run(0, false);
  if (outcome == Outcome::kUnsure) return std::nullopt;
  return outcome == Outcome::kMatched;
}

std::optional<std::string> Backtracker::remove_all(const Program& program, std::string_view text) {
  if (!begin(program, text)) return std::nullopt;
  const Instruction& first = program.code.front();
  std::string kept;
  std::size_t kept_to = 0;
  bool must_advance = false;
  for (std::size_t start = 0; start <= text.size();) {
    const Outcome outcome = run(start, must_advance);
    if (outcome == Outcome::kUnsure) return std::nullopt;
    if (outcome == Outcome::kMatched) {
      kept.append(text, kept_to, start - kept_to);
      // After an empty match one that is not empty may stand at the same place.
      must_advance = end_ == start;
      start = kept_to = end_;
      forget_visits_at_end();
      continue;
    }
    if (first.op == Op::kStart) break;
    must_advance = false;
    start = utf8::next(text, start);
    if (first.op == Op::kText) start = text.find(std::string_view(first.text.data(), first.length), start);
  }
  return kept.append(text, kept_to);
}

bool Backtracker::begin(const Program& program, std::string_view text) {
  program_ = &program;
  text_ = text;
  if (program.choices > 0 && text.size() >= kMaxVisits / program.choices) return false;
  visits_.assign((program.choices * (text.size() + 1) + kBits - 1) / kBits, 0);
  return true;
}

Backtracker::Outcome Backtracker::run(std::size_t start, bool must_advance) {
  const Instruction* const code = program_->code.data();
  const Instruction* next = code;
  const std::string_view text = text_;
  std::size_t at = start;
  choices_.clear();
  while (true) {
    bool fits = true;
    const Instruction& present = *next++;
    switch (present.op) {
      case Op::kText:
        fits = text.size() - at >= present.length &&
               std::memcmp(text.data() + at, present.text.data(), present.length) == 0;
        at += present.length;
        break;
      case Op::kSet:
        fits = at < text.size() && may_hold(present.set, text[at]);
        if (!fits) break;
        if (utf8::is_ascii(text[at])) {
          ++at;
        } else {
          if (present.set.others == Others::kUnsure) return Outcome::kUnsure;
          at = utf8::next(text, at);
        }
        break;
      case Op::kStart:
        fits = at == 0;
        break;
      case Op::kEnd:
        fits = is_at_end(text, at);
        break;
      case Op::kVeryEnd:
        fits = at == text.size();
        break;
      case Op::kWordEdge: {
        const Outcome edge = is_word_edge(at);
        if (edge == Outcome::kUnsure) return edge;
        fits = edge == Outcome::kMatched;
        break;
      }
      case Op::kJump:
        next = &present + present.elsewhere;
        break;
      case Op::kTryNext:
      case Op::kTryJump: {
        fits = visit(present.choice, at);
        const Instruction* other = &present + present.elsewhere;
        if (present.op == Op::kTryJump) std::swap(next, other);
        if (fits && may_begin(*other, text, at)) {
          choices_.push_back({static_cast<std::uint32_t>(other - code), static_cast<std::uint32_t>(at)});
        }
        break;
      }
      case Op::kMatch:
        if (!must_advance || at > start) {
          end_ = at;
          return Outcome::kMatched;
        }
        fits = false;
        break;
    }
    if (fits) continue;
    if (choices_.empty()) return Outcome::kFailed;
    next = code + choices_.back().instruction;
    at = choices_.back().position;
    choices_.pop_back();
  }
}

Backtracker::Outcome Backtracker::is_word_edge(std::size_t at) const {
  bool edge = false;
  for (const std::size_t beside : {at - 1, at}) {  // before the start is beyond the end
    if (beside >= text_.size()) continue;
    if (!utf8::is_ascii(text_[beside])) return Outcome::kUnsure;
    edge ^= CharacterSet::words().contains(text_[beside]);
  }
  return edge ? Outcome::kMatched : Outcome::kFailed;
}

/// False if this choice was met here before.
bool Backtracker::visit(std::uint32_t choice, std::size_t at) {
  const std::size_t number = at * program_->choices + choice;
  std::uint64_t& word = visits_[number / kBits];
  const std::uint64_t bit = std::uint64_t{1} << (number % kBits);
  if ((word & bit) != 0) return false;
  word |= bit;
  return true;
}

// The way that matched, with the choices that it left untried, does not go beyond its end. So what was met further on
// has failed, and will again; and what was met before is never asked for again.
void Backtracker::forget_visits_at_end() {
  for (std::size_t choice = 0; choice < program_->choices; ++choice) {
    const std::size_t number = end_ * program_->choices + choice;
    visits_[number / kBits] &= ~(std::uint64_t{1} << (number % kBits));
  }
}

}  // namespace heron
