#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace heron::fuzz {

/// What the runtime's `re` says of an expression and a name.
struct Verdict {
  bool matches;
  std::string rest;  ///< The name without all that the expression matches.
};

/// Starts the interpreter. Ends the process if there is none.
void start_runtime();

/// The runtime's verdict; none if it takes too long. An expression that the runtime refuses or warns of ends the
/// process: only ask for those that were taken for valid.
std::optional<Verdict> ask_runtime(std::string_view expression, std::string_view name);

}  // namespace heron::fuzz
