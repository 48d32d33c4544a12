#include "scene/snapshot.h"

#include <algorithm>

namespace heron {

std::optional<ObjectId> Snapshot::find(std::string_view path) const {
  const auto found = ids_.find(path);
  if (found == ids_.end()) return std::nullopt;
  return found->second;
}

ObjectId Snapshot::mention(std::string_view path) {
  if (const auto known = find(path)) return *known;
  const auto id = static_cast<ObjectId>(records_.size());
  const std::string_view kept = keep(path);
  records_.push_back({});
  records_.back().view.path = kept;
  ids_.emplace(kept, id);
  return id;
}

void Snapshot::describe(ObjectId object, std::string_view name, std::optional<std::string_view> type) {
  ObjectView& view = records_[object].view;
  // Mostly the name is the end of the path, which is kept already.
  view.name = view.path.ends_with(name) ? view.path.substr(view.path.size() - name.size()) : keep(name);
  view.type = type ? keep(*type) : std::string_view();
}

void Snapshot::set_children(ObjectId object, std::vector<ObjectId> children) {
  records_[object].view.has_children = !children.empty();
  records_[object].children = std::move(children);
}

std::vector<ObjectId> Snapshot::children(ObjectId object) {
  std::vector<ObjectId> existing;
  existing.reserve(records_[object].children.size());
  std::copy_if(records_[object].children.begin(), records_[object].children.end(), std::back_inserter(existing),
               [&](ObjectId child) { return exists(child); });
  return existing;
}

std::string_view Snapshot::keep(std::string_view text) {
  constexpr std::size_t kBlock = std::size_t{1} << 16U;
  if (text.size() > left_ || blocks_.empty()) {
    left_ = std::max(kBlock, text.size());
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(left_));
    block_size_ = left_;
  }
  char* place = blocks_.back().get() + (block_size_ - left_);
  std::copy(text.begin(), text.end(), place);
  left_ -= text.size();
  return {place, text.size()};
}

}  // namespace heron
