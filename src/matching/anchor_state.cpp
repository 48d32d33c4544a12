#include "matching/anchor_state.h"

#include <algorithm>

namespace heron {

std::vector<std::vector<Capture>> AnchorState::tables() const {
  std::vector<std::vector<Capture>> tables(definitions->size());
  for (const CaptureLink* link = last.get(); link != nullptr; link = link->before.get()) {
    if (link->key < tables.size()) tables[link->key].push_back(link->capture);
  }
  for (auto& table : tables) std::sort(table.begin(), table.end());
  return tables;
}

}  // namespace heron
