#include "matching/captures.h"

namespace heron {

// Dropped link by link: a long chain dropped by recursion would overflow the stack.
CaptureLink::~CaptureLink() {
  CaptureChain next = std::move(before);
  while (next && next.use_count() == 1) next = std::move(const_cast<CaptureLink&>(*next).before);
}

}  // namespace heron
