#include "hierarchy/re_matcher.h"

#include "runtime/modules.h"
#include "runtime/text.h"

namespace heron {
namespace {

constexpr std::size_t kGenerationSize = 2048;
constexpr std::size_t kMaxKept = 4096;  // bytes of an expression: its compiled form may be ten times as large

}  // namespace

bool ReMatcher::match(std::string_view expression, std::string_view text) {
  return !compile(expression).match(py::text(text)).is_none();
}

std::string ReMatcher::remove_all(std::string_view expression, std::string_view text) {
  return py::Utf8(compile(expression).substitute(py::text(""), py::text(text))).str();
}

ReMatcher::Compiled ReMatcher::compile(std::string_view expression) {
  if (const auto known = young_.find(expression); known != young_.end()) return known->second;
  Compiled compiled;
  if (const auto known = old_.find(expression); known != old_.end()) {
    compiled = known->second;
  } else {
    static const py::Name kCompile("compile"), kMatch("match"), kSubstitute("sub");
    const py::Object pattern = py::modules::re.call(kCompile, py::text(expression));
    compiled = {pattern.attr(kMatch), pattern.attr(kSubstitute)};
  }
  if (expression.size() > kMaxKept) return compiled;
  if (young_.size() >= kGenerationSize) old_ = std::exchange(young_, {});
  young_.emplace(expression, compiled);
  return compiled;
}

}  // namespace heron
