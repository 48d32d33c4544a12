#include "matching/snapshot.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace heron {

Snapshot::Snapshot(const Snapshot& other) : records_(other.records_) {
  for (ObjectId id = 0; id < records_.size(); ++id) {
    ObjectView& view = records_[id].view;
    view.path = keep(view.path);
    view.name = keep(view.name);
    if (view.type.data() != nullptr) view.type = keep(view.type);
    index_.add(view.path, id);
  }
}

std::optional<ObjectId> Snapshot::find(std::string_view path) const {
  return index_.find(path, [&](ObjectId id) { return records_[id].view.path; });
}

ObjectId Snapshot::mention(std::string_view path) {
  if (const auto known = find(path)) return *known;
  const auto id = static_cast<ObjectId>(records_.size());
  const std::string_view kept = keep(path);
  records_.push_back({});
  records_.back().view.path = kept;
  index_.add(kept, id);
  return id;
}

void Snapshot::describe(ObjectId object, std::string_view name, std::optional<std::string_view> type) {
  ObjectView& view = records_[object].view;
  // Mostly the name is the end of the path, which is kept already.
  view.name = view.path.ends_with(name) ? view.path.substr(view.path.size() - name.size()) : keep(name);
  view.type = type ? keep(*type) : std::string_view();
}

void Snapshot::set_exists(ObjectId object, bool exists) {
  records_[object].exists = exists;
  records_[object].complete = false;
}

bool Snapshot::is_found(ObjectId object) const {
  const Record& record = records_[object];
  if (record.exists && !record.complete) {
    throw std::out_of_range("the snapshot lacks a part of " + std::string(record.view.path) +
                            ": its upload was interrupted");
  }
  return record.exists;
}

void Snapshot::set_children(ObjectId object, std::vector<ObjectId> children) {
  records_[object].view.has_children = !children.empty();
  records_[object].children = std::move(children);
  records_[object].complete = true;  // the children are copied last
}

void Snapshot::children(ObjectId object, std::vector<ObjectId>& into) {
  into.clear();
  std::copy_if(records_[object].children.begin(), records_[object].children.end(), std::back_inserter(into),
               [&](ObjectId child) { return is_found(child); });
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
