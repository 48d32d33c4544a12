#pragma once

#include <array>
#include <memory>
#include <vector>

#include "matching/objects.h"

namespace heron {

/// A table over all objects of a scene of which a run may look at few: it grows page by page.
template <class T>
class PagedTable {
 public:
  T& operator[](ObjectId object) {
    const std::size_t page = object / kPage;
    if (pages_.size() <= page) pages_.resize(page + 1);
    if (!pages_[page]) pages_[page] = std::make_unique<std::array<T, kPage>>();
    return (*pages_[page])[object % kPage];
  }

 private:
  static constexpr std::size_t kPage = 1024;
  std::vector<std::unique_ptr<std::array<T, kPage>>> pages_;
};

}  // namespace heron
