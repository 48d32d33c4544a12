#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "matching/objects.h"
#include "matching/path_index.h"

namespace heron {

/// A copy of a part of the scene: objects numbered densely, found by path.
///
/// The matching asks very many questions per object, so none of them may reach the host.
class Snapshot : public Objects {
 public:
  Snapshot() = default;
  Snapshot(const Snapshot& other);
  Snapshot& operator=(const Snapshot&) = delete;

  /// The number of the object with this path, if the path was ever mentioned.
  std::optional<ObjectId> find(std::string_view path) const;
  /// The number of the object with this path, which is a new one if the path was never mentioned.
  ObjectId mention(std::string_view path);

  void set_exists(ObjectId object, bool exists);
  void describe(ObjectId object, std::string_view name, std::optional<std::string_view> type);
  void set_children(ObjectId object, std::vector<ObjectId> children);

  std::size_t size() const { return records_.size(); }
  bool exists(ObjectId object) const { return records_[object].exists; }
  /// Does the object exist, for the matching? std::out_of_range for one of which an interrupted upload left a part out.
  bool is_found(ObjectId object) const;

  const ObjectView& view(ObjectId object) const override { return records_[object].view; }
  void children(ObjectId object, std::vector<ObjectId>& into) override;

 private:
  struct Record {
    ObjectView view;
    std::vector<ObjectId> children;
    bool exists = false, complete = false;
  };

  std::string_view keep(std::string_view text);

  std::vector<Record> records_;
  PathIndex index_;  // by the views' paths
  // Texts in large blocks: one allocation for a few thousand names.
  std::vector<std::unique_ptr<char[]>> blocks_;
  std::size_t block_size_ = 0, left_ = 0;  // of the last block
};

}  // namespace heron
