#pragma once

#include <unordered_map>

#include "matching/name_matcher.h"
#include "runtime/interrupts.h"

namespace heron {

/// Matches names by the runtime's `re`, with a bounded cache of compiled expressions.
///
/// The runtime's own cache holds 512, while captures make an expression of its own for each asset of a scene.
class ReMatcher : public NameMatcher {
 public:
  bool match(std::string_view expression, std::string_view text) override;
  std::string remove_all(std::string_view expression, std::string_view text) override;
  void step() override { interrupts_.step(); }

 private:
  struct Compiled {
    py::Object match, substitute;  // the pattern's operations, bound once
  };
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  using Generation = std::unordered_map<std::string, Compiled, Hash, std::equal_to<>>;

  /// By value: a call of the expression may run Python code that changes the cache.
  Compiled compile(std::string_view expression);

  // Two generations: when the young one is full it becomes the old one, and what is not asked for again goes with
  // the next turn. That keeps what is in use without a list of all uses.
  Generation young_, old_;
  py::Interrupts interrupts_;
};

}  // namespace heron
