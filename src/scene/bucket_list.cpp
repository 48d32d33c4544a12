#include "scene/bucket_list.h"

#include <algorithm>
#include <utility>

#include "scene/bucket.h"
#include "scene/joint.h"

namespace heron {
namespace {

/// The same for equal buckets; nothing for what may tell otherwise which buckets it equals. Neither this nor a
/// comparison of two that have one runs code that could look at the list.
std::optional<std::size_t> hash_of(const py::Object& object) {
  if (!DataBucket::is_exactly(object)) return std::nullopt;
  const DataBucket& bucket = py::value_of<DataBucket>(object.get());
  if (!DataJoint::is_exactly(bucket.joint)) return std::nullopt;
  const DataJoint& joint = py::value_of<DataJoint>(bucket.joint.get());
  const auto* own_text = reinterpret_cast<PyTypeObject*>(str_class());
  std::size_t hash = 0;
  for (const py::Object* part : {&bucket.name_characters(), &bucket.checked, &bucket.opened, &joint.stamp,
                                 &joint.name.characters(), &joint.path.characters(), &joint.type}) {
    const bool text = *part && (PyUnicode_CheckExact(part->get()) || Py_TYPE(part->get()) == own_text);
    if (!text && !part->is_none() && !PyBool_Check(part->get())) return std::nullopt;
    hash = hash * 1000003 ^ static_cast<std::size_t>(part->hash());
  }
  return hash;
}

}  // namespace

const py::List& BucketList::list() const {
  if (walk_.at_once) return list_;
  if (walk_.left.empty()) {
    walk_ = {};
    return list_;
  }
  const py::List staying;
  // Ended before the list changes: what leaves it may run Python code that looks at it.
  auto left = std::exchange(walk_, {}).left;
  std::sort(left.begin(), left.end());
  if (!left.empty() && left.back() - left.front() + 1 == static_cast<Py_ssize_t>(left.size())) {
    list_.replace(left.front(), left.back() + 1);
    return list_;
  }
  auto leaving = left.begin();
  for (Py_ssize_t i = 0; i < list_.size(); ++i) {
    if (leaving != left.end() && *leaving == i) {
      ++leaving;
    } else {
      staying.append(list_.at(i));
    }
  }
  list_.replace(0, list_.size(), staying);
  return list_;
}

void BucketList::renew() {
  walk_ = {};
  list_ = py::List();
}

void BucketList::remove(const py::Object& bucket) {
  static const py::Name kRemove("remove");
  if (clearances_ > 0) {
    if (walk_.entries.empty()) begin_walk();
    const auto position = find_first(bucket);
    if (position && (!walk_.at_once || take_out(*position))) {
      walk_.left.push_back(*position);
      return;
    }
    if (walk_.at_once) walk_ = {};  // the list is no more as it was
  }
  list().call(kRemove, bucket);
}

void BucketList::begin_walk() {
  walk_ = {};
  walk_.at_once = Py_REFCNT(list_.get()) > 1;
  walk_.entries = list_.items();
  if (walk_.at_once) walk_.sums.resize(walk_.entries.size() + 1);
}

/// Takes the bucket out of the list that Python holds; false if something else stands there.
bool BucketList::take_out(Py_ssize_t position) {
  auto& sums = walk_.sums;
  Py_ssize_t index = position;
  for (auto i = static_cast<std::size_t>(position); i > 0; i &= i - 1) index -= sums[i];
  const auto size = static_cast<Py_ssize_t>(walk_.entries.size() - walk_.left.size());
  const py::Object entry = walk_.entries[static_cast<std::size_t>(position)];
  if (list_.size() != size || !list_.at(index).is(entry)) return false;
  for (auto i = static_cast<std::size_t>(position) + 1; i < sums.size(); i += i & (~i + 1)) ++sums[i];
  list_.remove_at(index);
  return true;
}

/// Where the first equal bucket stands among those that have not left. Nothing if it takes the list itself to tell.
std::optional<Py_ssize_t> BucketList::find_first(const py::Object& bucket) {
  const std::optional<std::size_t> hash = hash_of(bucket);
  const auto is_at = [&](Py_ssize_t position) {
    const py::Object& entry = walk_.entries[static_cast<std::size_t>(position)];
    return entry.is(bucket) || (hash && hash_of(entry) == hash && entry.equals(bucket));
  };
  auto& [entries, left, staying, next, at_once, sums] = walk_;
  if (!hash && !staying.empty()) return std::nullopt;
  const auto [begin, end] = hash ? staying.equal_range(*hash) : std::pair(staying.end(), staying.end());
  const auto passed = std::find_if(begin, end, [&](const auto& entry) { return is_at(entry.second); });
  if (passed != end) return staying.extract(passed).mapped();
  for (; next < static_cast<Py_ssize_t>(entries.size()); ++next) {
    if (is_at(next)) return next++;
    const std::optional<std::size_t> passing = hash_of(entries[static_cast<std::size_t>(next)]);
    if (!hash || !passing) return std::nullopt;
    staying.emplace(*passing, next);
  }
  return std::nullopt;
}

}  // namespace heron
