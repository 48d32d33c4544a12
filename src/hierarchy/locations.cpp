#include "hierarchy/locations.h"

namespace heron {

std::vector<ObjectId> LocationObjects::locate(const py::Object& paths) {
  std::vector<ObjectId> found;
  for (const py::Object& location : py::collect(queries_.locations(paths))) found.push_back(add(location));
  return found;
}

ObjectId LocationObjects::add(const py::Object& location) {
  static const py::Name kName("name"), kPath("path"), kType("type"), kChildren("children");
  const py::Object type = location.attr(kType), children = location.attr(kChildren);
  Entry entry{location,
              children.truth() ? children : py::List(),
              py::Utf8(location.attr(kName)),
              py::Utf8(location.attr(kPath)),
              std::nullopt,
              {}};
  if (type.is_text()) entry.type.emplace(type);
  entry.view = {entry.name, entry.path, entry.type ? entry.type->view() : std::string_view(), children.truth()};
  entries_.push_back(std::move(entry));
  return static_cast<ObjectId>(entries_.size() - 1);
}

}  // namespace heron
