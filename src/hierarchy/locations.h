#pragma once

#include <deque>
#include <optional>

#include "host/scene_queries.h"
#include "matching/objects.h"
#include "runtime/class.h"

namespace heron {

/// Objects as any query object describes them: whatever offers `get_locations` serves.
class LocationObjects : public Objects {
 public:
  explicit LocationObjects(SceneQueries queries) : queries_(std::move(queries)) {}

  /// The objects at these paths that exist, in order.
  std::vector<ObjectId> locate(const py::Object& paths);
  /// The object that a description is of.
  ObjectId add(const py::Object& location);

  const ObjectView& view(ObjectId object) const override { return entries_[object].view; }
  void children(ObjectId object, std::vector<ObjectId>& into) override { into = locate(entries_[object].children); }

  const py::Object& location(ObjectId object) const { return entries_[object].location; }

  template <class V>
  void members(V& visit) {
    visit(queries_);
    for (Entry& entry : entries_) {
      visit(entry.location);
      visit(entry.children);
    }
  }

 private:
  struct Entry {
    py::Object location, children;
    py::Utf8 name, path;
    std::optional<py::Utf8> type;
    ObjectView view;
  };

  SceneQueries queries_;
  std::deque<Entry> entries_;  // the views point into the entries' texts
};

}  // namespace heron
