#include "hierarchy/locations.h"

namespace heron {

std::vector<ObjectId> LocationObjects::locate(const py::Object& paths) {
  static const py::Name kGetLocations("get_locations"), kName("name"), kPath("path"), kType("type");
  static const py::Name kChildren("children");
  std::vector<ObjectId> found;
  for (const py::Object& location : py::collect(query_.call(kGetLocations, paths))) {
    const py::Object type = location.attr(kType), children = location.attr(kChildren);
    Entry entry{location,
                children.truth() ? children : py::List(),
                py::Utf8(location.attr(kName)),
                py::Utf8(location.attr(kPath)),
                std::nullopt,
                {}};
    if (type.is_text()) entry.type.emplace(type);
    entry.view = {entry.name, entry.path, entry.type ? entry.type->view() : std::string_view(), children.truth()};
    found.push_back(static_cast<ObjectId>(entries_.size()));
    entries_.push_back(std::move(entry));
  }
  return found;
}

}  // namespace heron
