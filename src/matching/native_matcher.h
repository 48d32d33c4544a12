#pragma once

#include <vector>

#include "matching/backtracker.h"
#include "matching/name_matcher.h"

namespace heron {

/// Matches names without the runtime where the meaning is certain, and leaves the rest to another matcher.
///
/// Captures make an expression of its own for each asset of a scene, so most are compiled to be used once or a few
/// times: that has to cost as little as using them.
class NativeMatcher : public NameMatcher {
 public:
  /// `other` answers for what is not certain, and throws for what is invalid.
  explicit NativeMatcher(NameMatcher& other) : other_(other) {}

  bool match(std::string_view expression, std::string_view text) override;
  std::string remove_all(std::string_view expression, std::string_view text) override;
  void step() override { other_.step(); }

 private:
  struct Compiled {
    bool used = false;
    bool native = false;
    std::string expression;
    Program program;
  };
  /// The program of an expression; none if it is for the other matcher. Holds until the next expression.
  const Program* compile(std::string_view expression);

  // An expression has one place, and the next one that falls there takes it over with its memory: nothing is
  // allocated, and to compile a lost expression again costs little more than to find it.
  static constexpr std::size_t kPlaces = 512;
  std::vector<Compiled> compiled_{kPlaces};
  Backtracker backtracker_;
  NameMatcher& other_;
};

}  // namespace heron
