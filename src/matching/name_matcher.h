#pragma once

#include <string>
#include <string_view>

namespace heron {

/// Plain regular expressions over names, as the matching asks for them. Expressions have the runtime's syntax.
///
/// An invalid expression throws, whatever the implementation throws for it.
class NameMatcher {
 public:
  virtual ~NameMatcher() = default;

  /// Does the expression match at the start of the text? It may end anywhere.
  virtual bool match(std::string_view expression, std::string_view text) = 0;

  /// The text without everything that the expression finds in it.
  virtual std::string remove_all(std::string_view expression, std::string_view text) = 0;

  /// To be called at every step of long work over names. It may throw, to end the work at the user's wish.
  virtual void step() {}
};

}  // namespace heron
