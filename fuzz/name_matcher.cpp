// Holds the native matcher of names against the runtime's `re`: the first line of the input is the expression, the rest
// is the name.

#include "matching/native_matcher.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "reference.h"

namespace heron::fuzz {
namespace {

/// Stands where the runtime's matcher stands in the engine, and notes that it was asked.
class Elsewhere : public NameMatcher {
 public:
  bool match(std::string_view, std::string_view) override { return asked = true; }
  std::string remove_all(std::string_view, std::string_view) override {
    asked = true;
    return {};
  }
  bool asked = false;
};

/// Every byte is a character, so that every input is text; those beyond ASCII are of several kinds.
std::string characters(std::string_view bytes) {
  static constexpr std::array<std::string_view, 10> kOthers = {
      "\n",           "\xc3\xa9", "\xe8\xbb\x8a", "\xf0\x9f\x98\x80", "\xed\xa0\xbd",
      "\xed\xb8\x80", "\xd9\xa3", "\xc2\x85",     "\xe2\x80\x83",     "\xf4\x8f\xbf\xbf"};
  std::string text;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    if (code < 0x80) {
      text.push_back(byte);
    } else {
      text.append(kOthers[code % kOthers.size()]);
    }
  }
  return text;
}

void expect(bool same, std::string_view expression, std::string_view name) {
  if (same) return;
  std::fprintf(stderr, "not what the runtime finds: %.*s\n  in: %.*s\n", static_cast<int>(expression.size()),
               expression.data(), static_cast<int>(name.size()), name.data());
  std::abort();
}

void compare(std::string_view expression, std::string_view name) {
  static Elsewhere elsewhere;
  static NativeMatcher matcher(elsewhere);
  elsewhere.asked = false;
  const bool matches = matcher.match(expression, name);
  const bool match_asked = std::exchange(elsewhere.asked, false);
  const std::string rest = matcher.remove_all(expression, name);
  if (match_asked && elsewhere.asked) return;
  const std::optional<Verdict> verdict = ask_runtime(expression, name);
  if (!verdict) return;
  expect(match_asked || matches == verdict->matches, expression, name);
  expect(elsewhere.asked || rest == verdict->rest, expression, name);
}

}  // namespace
}  // namespace heron::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  heron::fuzz::start_runtime();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(input.find('\n'), size);
  heron::fuzz::compare(heron::fuzz::characters(input.substr(0, end)),
                       heron::fuzz::characters(input.substr(std::min(end + 1, size))));
  return 0;
}
