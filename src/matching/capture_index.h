#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "matching/closeness.h"

namespace heron {

/// Finds, for a definition and a path, the closest capture that is visible from there.
///
/// A capture is visible from a path if its parents are the first parents of the path. So captures stand by the
/// folder of their object, and a path of depth d has at most d + 1 folders to look into. Inside a folder they stand
/// in the order of their paths, so that the longest common start is with a neighbour of the path looked for. That is
/// O(d log n) for a question, where sorting all captures for each object would be quadratic in a layer.
class CaptureIndex {
 public:
  /// Makes the index one of this chain's captures. Costs as many steps as the chain differs from the last one.
  void follow(const CaptureChain& chain);
  /// Goes on to the next link of the chain. False, and nothing changes, if its capture is in the index already.
  bool extend(const CaptureChain& link);

  /// The visible capture that shares the longest start with `path`, counted in characters; none if none is visible.
  /// Among equals the first, see `closeness::precedes`.
  const Capture* closest(std::size_t key, std::string_view path);

 private:
  using Folder = std::uint32_t;
  static constexpr Folder kTop = 0;

  struct Step {  // from a folder to one in it, by name
    Folder from;
    std::string name;
  };
  struct StepView {
    Folder from;
    std::string_view name;
  };
  struct StepHash {
    using is_transparent = void;
    std::size_t operator()(const StepView& step) const {
      return std::hash<std::string_view>()(step.name) * 31 + step.from;
    }
    std::size_t operator()(const Step& step) const { return (*this)(StepView{step.from, step.name}); }
  };
  struct StepEqual {
    using is_transparent = void;
    template <class A, class B>
    bool operator()(const A& a, const B& b) const {
      return a.from == b.from && a.name == b.name;
    }
  };
  struct Order {  // in which a path can be looked for, too
    using is_transparent = void;
    bool operator()(const Capture* a, const Capture* b) const { return closeness::precedes(*a, *b); }
    bool operator()(const Capture* a, std::string_view path) const { return a->scope < path; }
  };
  using Shelf = std::set<const Capture*, Order>;
  /// The folders from the top to that of an object.
  struct Way {
    std::string directory;
    std::vector<Folder> folders;
    bool complete = false;
  };

  /// The way to a path's object; if it is not to be made, as far as there is one.
  const Way& find_way(std::string_view path, bool make);
  static std::uint64_t place(std::size_t key, Folder folder) {
    return (static_cast<std::uint64_t>(key) << 32U) | folder;
  }
  bool insert(const CaptureLink& link);
  void remove(const CaptureLink& link);

  std::vector<CaptureChain> followed_;
  Way way_;  // the last one: the objects of a layer come in a row
  std::unordered_map<Step, Folder, StepHash, StepEqual> folders_;
  std::unordered_map<std::uint64_t, Shelf> shelves_;  // by definition and folder
};

}  // namespace heron
