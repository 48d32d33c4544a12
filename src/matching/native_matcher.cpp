#include "matching/native_matcher.h"

#include <functional>

#include "matching/regex_parser.h"

namespace heron {

bool NativeMatcher::match(std::string_view expression, std::string_view text) {
  if (const Program* program = compile(expression)) {
    if (const auto matches = backtracker_.match(*program, text)) return *matches;
  }
  return other_.match(expression, text);
}

std::string NativeMatcher::remove_all(std::string_view expression, std::string_view text) {
  if (const Program* program = compile(expression)) {
    if (auto rest = backtracker_.remove_all(*program, text)) return *std::move(rest);
  }
  return other_.remove_all(expression, text);
}

const Program* NativeMatcher::compile(std::string_view expression) {
  if (expression.size() > RegexParser::kMaxExpression) return nullptr;  // not worth remembering
  Compiled& place = compiled_[std::hash<std::string_view>()(expression) % kPlaces];
  if (!place.used || place.expression != expression) {
    place.expression = expression;
    place.native = RegexParser::compile(expression, place.program);
    place.used = true;
  }
  return place.native ? &place.program : nullptr;
}

}  // namespace heron
