#include "scene/bucket_list.h"

#include <algorithm>
#include <map>

#include "scene/bucket.h"
#include "scene/joint.h"

namespace heron {
namespace {

/// The same for equal buckets and hardly for others; nothing for what may tell otherwise which buckets it equals.
std::optional<Py_hash_t> mark_of(const py::Object& object) {
  if (!DataBucket::is_exactly(object)) return std::nullopt;
  const DataBucket& bucket = py::value_of<DataBucket>(object.get());
  if (!DataJoint::is_exactly(bucket.joint)) return std::nullopt;
  const DataJoint& joint = py::value_of<DataJoint>(bucket.joint.get());
  const std::vector<py::Object> parts = {bucket.name_characters(), bucket.checked,          bucket.opened, joint.stamp,
                                         joint.name.characters(),  joint.path.characters(), joint.type};
  const auto* own_text = reinterpret_cast<PyTypeObject*>(str_class());
  const bool plain = std::all_of(parts.begin(), parts.end(), [own_text](const py::Object& part) {
    const bool text = part && (PyUnicode_CheckExact(part.get()) || Py_TYPE(part.get()) == own_text);
    return text || part.is_none() || PyBool_Check(part.get());
  });
  return plain ? std::optional(py::tuple(parts).hash()) : std::nullopt;
}

}  // namespace

struct BucketList::Walk {
  explicit Walk(Py_ssize_t size) : gone(static_cast<std::size_t>(size)) {}

  bool searching = false;                       // a comparison may run Python code that removes, too
  std::vector<bool> gone;                       // by position: did the bucket leave?
  Py_ssize_t count = 0, first = 0, last = 0;    // of those
  Py_ssize_t next = 0;                          // where the walk goes on
  std::multimap<Py_hash_t, Py_ssize_t> passed;  // mark to position of those that stay, in order
};

const py::List& BucketList::list() const {
  // Ended before the list changes: what leaves it may run Python code that looks at it.
  const std::shared_ptr<Walk> walk = std::exchange(walk_, nullptr);
  if (!walk || walk->count == 0) return list_;
  if (walk->last - walk->first + 1 == walk->count) {
    list_.replace(walk->first, walk->last + 1);
    return list_;
  }
  const py::List staying;
  for (Py_ssize_t i = 0; i < list_.size(); ++i) {
    if (!walk->gone[static_cast<std::size_t>(i)]) staying.append(list_.at(i));
  }
  list_.replace(0, list_.size(), staying);
  return list_;
}

void BucketList::renew() {
  walk_ = nullptr;
  list_ = py::List();
}

void BucketList::remove(const py::Object& bucket) {
  static const py::Name kRemove("remove");
  if (clearances_ == 0 || !leave(bucket)) list().call(kRemove, bucket);
}

/// Notes that a bucket left. False if it takes the list itself to tell which one.
bool BucketList::leave(const py::Object& bucket) {
  if (Py_REFCNT(list_.get()) > 1) return false;  // somebody else sees it
  if (!walk_) walk_ = std::make_shared<Walk>(list_.size());
  const std::shared_ptr<Walk> walk = walk_;
  if (std::exchange(walk->searching, true)) return false;
  const std::optional<Py_hash_t> mark = mark_of(bucket);
  if (!mark && !walk->passed.empty()) return false;
  std::optional<Py_ssize_t> position = mark ? find_passed(walk, *mark, bucket) : std::nullopt;
  if (!position) position = find_ahead(walk, mark, bucket);
  walk->searching = false;
  if (!position || walk_ != walk) return false;
  walk->gone[static_cast<std::size_t>(*position)] = true;
  walk->first = walk->count == 0 ? *position : std::min(walk->first, *position);
  walk->last = std::max(walk->last, *position);
  ++walk->count;
  return true;
}

std::optional<Py_ssize_t> BucketList::find_passed(const std::shared_ptr<Walk>& walk, Py_hash_t mark,
                                                  const py::Object& bucket) const {
  const auto [begin, end] = walk->passed.equal_range(mark);
  for (auto entry = begin; entry != end; ++entry) {
    const Py_ssize_t position = entry->second;
    const std::optional<bool> is_here = is_at(walk, position, bucket);
    if (!is_here) return std::nullopt;
    if (!*is_here) continue;
    walk->passed.erase(entry);
    return position;
  }
  return std::nullopt;
}

std::optional<Py_ssize_t> BucketList::find_ahead(const std::shared_ptr<Walk>& walk, std::optional<Py_hash_t> mark,
                                                 const py::Object& bucket) const {
  const auto size = static_cast<Py_ssize_t>(walk->gone.size());
  for (; walk->next < size; ++walk->next) {
    if (list_.at(walk->next).is(bucket)) return walk->next++;
    if (!mark) return std::nullopt;
    const std::optional<bool> is_here = is_at(walk, walk->next, bucket);
    if (!is_here) return std::nullopt;
    if (*is_here) return walk->next++;
    const std::optional<Py_hash_t> passed = mark_of(list_.at(walk->next));
    if (!passed) return std::nullopt;
    walk->passed.emplace(*passed, walk->next);
  }
  return std::nullopt;
}

/// Is an equal bucket here? Nothing if the comparison ended the walk: it may run Python code.
std::optional<bool> BucketList::is_at(const std::shared_ptr<Walk>& walk, Py_ssize_t position,
                                      const py::Object& bucket) const {
  const py::Object entry = list_.at(position);
  const bool equal = entry.is(bucket) || entry.equals(bucket);
  const bool undisturbed = walk_ == walk && static_cast<std::size_t>(list_.size()) == walk->gone.size();
  return undisturbed ? std::optional(equal) : std::nullopt;
}

}  // namespace heron
