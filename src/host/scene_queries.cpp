#include "host/scene_queries.h"

namespace heron {
namespace {

const py::Name kObjectExists("object_exists"), kGetType("get_type"), kGetParent("get_parent");
const py::Name kGetChildren("get_children"), kGetLocations("get_locations");

constexpr std::string_view kPathsOrNone = "a list of paths or None";

[[noreturn]] void refuse_answer(const py::Name& operation, const std::string& given, std::string_view wanted) {
  py::raise_type("`" + std::string(operation.text()) + "` gave " + given + ", " + std::string(wanted) + " is expected");
}

}  // namespace

bool SceneQueries::exists(const py::Object& path) const {
  if (!path.is_none() && !path.is_text()) return false;  // from embedded data; no host knows such a path
  return call(kObjectExists, path).truth();
}

py::Object SceneQueries::type(const py::Object& path) const { return call(kGetType, path); }

py::Object SceneQueries::parent(const py::Object& path) const { return call(kGetParent, path); }

py::Object SceneQueries::children(const py::Object& path) const {
  py::Object children = call(kGetChildren, path);
  if (!children.truth()) return {};
  return list(kGetChildren, std::move(children), kPathsOrNone);
}

py::Object SceneQueries::locations(const py::Object& paths) const { return call(kGetLocations, paths); }

void SceneQueries::refuse_child(const py::Object& child) {
  refuse_answer(kGetChildren, "a list that holds " + child.type_name(), kPathsOrNone);
}

void SceneQueries::refuse(const py::Name& operation, const py::Object& given, std::string_view wanted) {
  refuse_answer(operation, given.type_name(), wanted);
}

py::Object SceneQueries::list(const py::Name& operation, py::Object given, std::string_view wanted) {
  if (given.is_text() || !py::Iterable::fits(given.or_none())) refuse(operation, given, wanted);
  return given;
}

}  // namespace heron
