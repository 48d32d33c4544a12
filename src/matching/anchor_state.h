#pragma once

#include <memory>
#include <vector>

#include "matching/captures.h"
#include "matching/definitions.h"

namespace heron {

/// The memory of a match: the definitions, and everything captured for them so far. Cheap to copy.
struct AnchorState {
  std::shared_ptr<const Definitions> definitions = std::make_shared<Definitions>();
  CaptureChain last;

  /// Adds a capture that the state does not hold yet.
  void add(std::size_t key, Capture capture) {
    last = std::make_shared<const CaptureLink>(std::move(last), key, std::move(capture));
  }
  /// The captures of each definition, sorted.
  std::vector<std::vector<Capture>> tables() const;
};

}  // namespace heron
