#include "host/scene_snapshot.h"

#include "runtime/interrupts.h"

namespace heron {
namespace {

/// Copies objects of the host, depth first. A scene may be deeper than the stack, so the walk keeps one of its own;
/// the host is asked in the same order as by a recursion.
class Upload {
 public:
  Upload(const Host& host, SceneCopy& copy) : host_(host), copy_(copy) { ++copy_.uploads; }
  ~Upload() { --copy_.uploads; }
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;

  void run(const py::Object& roots) {
    py::Interrupts interrupts;  // a host need not be written in Python
    enter(roots, std::nullopt);
    while (!levels_.empty()) {
      interrupts.step();
      if (levels_.back().next == levels_.back().paths.size()) {
        if (const auto parent = levels_.back().parent) progress_[*parent] = Progress::kDone;
        levels_.pop_back();
      } else {
        Level& level = levels_.back();
        const std::size_t next = level.next++;
        visit(py::Object(level.paths[next]), level.parent ? level.ids[next] : mention(level.paths[next]));
      }
    }
  }

 private:
  enum class Progress : unsigned char { kNone, kBegun, kDone };
  struct Level {
    std::optional<ObjectId> parent;
    std::vector<py::Object> paths;
    std::vector<ObjectId> ids;  // of children; roots are numbered as they are visited
    std::size_t next = 0;
  };

  void enter(const py::Object& paths, std::optional<ObjectId> parent) {
    std::vector<py::Object> children = py::collect(paths);
    std::erase_if(children, [](const py::Object& path) { return path.is_none(); });  // stands for no object
    std::vector<ObjectId> ids;
    if (parent) {
      ids.reserve(children.size());
      for (const py::Object& child : children) {
        if (!child.is_text()) SceneQueries::refuse_child(child);
        ids.push_back(mention(child));
      }
      copy_.snapshot.set_children(*parent, ids);
    }
    levels_.push_back({parent, std::move(children), std::move(ids)});
  }

  void visit(const py::Object& path, ObjectId id) {
    // A host may list an object twice; below itself it cannot stand.
    if (progress_[id] == Progress::kDone) return;
    if (progress_[id] == Progress::kBegun) {
      py::raise(PyExc_RecursionError, "upload() found an object below itself: " + py::Utf8(path).str());
    }
    const bool exists = host_.exists(path);
    copy_.snapshot.set_exists(id, exists);
    if (!std::exchange(copy_.objects[id].visited, true)) copy_.visited.push_back(id);
    progress_[id] = Progress::kDone;
    if (!exists) return;
    describe(id, path);
    // Not a reference into `copy_`: the host may upload again while it is asked.
    const py::Object children = host_.children(path);
    if (!children) {
      copy_.objects[id].children = py::Object();
      copy_.objects[id].answered = true;
      copy_.snapshot.set_children(id, {});
      return;
    }
    copy_.objects[id].children = children;
    progress_[id] = Progress::kBegun;
    enter(children, id);
  }

  void describe(ObjectId id, const py::Object& path) {
    const py::Text name = host_.name(path);
    copy_.objects[id].name = name;
    const py::Object type = host_.type(path);
    copy_.objects[id].type = type;
    copy_.objects[id].parent = host_.parent(path);
    const py::Utf8 name_bytes(name);
    if (type.is_text()) {
      copy_.snapshot.describe(id, name_bytes, py::Utf8(type).view());
    } else {
      copy_.snapshot.describe(id, name_bytes, std::nullopt);
    }
  }

  ObjectId mention(const py::Object& path) {
    if (!path.is_text()) py::raise_type(std::string("upload() expected paths that are str, not ") + path.type_name());
    const ObjectId id = copy_.mention(path);
    if (progress_.size() <= id) progress_.resize(id + 1, Progress::kNone);
    return id;
  }

  const Host host_;
  SceneCopy& copy_;
  std::vector<Progress> progress_;  // by number
  std::vector<Level> levels_;
};

}  // namespace

void Location::init(const py::Object& name_, const py::Object& path_, const py::Object& type_,
                    const py::Object& children_) {
  name = name_;
  path = path_;
  type = type_;
  children = children_.truth() ? children_ : py::List();
}

bool Location::equals(const py::Object& other) const {
  return py::is_instance<Location>(other.get()) && path.equals(py::value_of<Location>(other.get()).path);
}

ObjectId SceneCopy::mention(const py::Object& path) {
  const ObjectId id = snapshot.mention(py::Utf8(path));
  if (objects.size() <= id) {
    objects.emplace_back();
    objects[id].path = path;
  }
  return id;
}

py::Object SceneCopy::children(ObjectId object) {
  if (!objects[object].children && objects[object].answered) objects[object].children = py::List();
  return objects[object].children;
}

void SceneSnapshot::offload() { copy_ = std::make_shared<SceneCopy>(); }

void SceneSnapshot::upload(const py::Iterable& roots, bool clear) {
  if (clear) {
    offload();
  } else if (copy_->uploads == 0 && copy_.use_count() > 1) {
    copy_ = std::make_shared<SceneCopy>(*copy_);  // a run reads the old one
  }
  const std::shared_ptr<SceneCopy> copy = copy_;
  Upload(host, *copy).run(roots);
}

std::optional<ObjectId> SceneSnapshot::find(const SceneCopy& copy, const char* operation, const py::Object& path) {
  if (path.is_none()) return std::nullopt;
  if (!path.is_text()) py::raise_type(std::string(operation) + "() argument must be str, not " + path.type_name());
  return copy.snapshot.find(py::Utf8(path));
}

SceneCopy::Object SceneSnapshot::read(const char* operation, const py::Object& path) const {
  const auto id = find(*copy_, operation, path);
  return id ? copy_->objects[*id] : SceneCopy::Object();
}

bool SceneSnapshot::object_exists(const py::Object& path) const {
  const auto id = find(*copy_, "object_exists", path);
  return id && copy_->snapshot.exists(*id);
}

// What an upload that the host interrupted left out is as unknown as what it never looked at.

py::Object SceneSnapshot::get_type(const py::Object& path) const {
  const SceneCopy::Object object = read("get_type", path);
  return object.type ? object.type : py::text("");
}

py::Object SceneSnapshot::get_parent(const py::Object& path) const { return read("get_parent", path).parent; }

py::Object SceneSnapshot::get_children(const py::Object& path) const {
  const std::shared_ptr<SceneCopy> copy = copy_;  // making a list may run Python code, which may upload
  const auto id = find(*copy, "get_children", path);
  const py::Object children = id ? copy->children(*id) : py::Object();
  return children ? children : py::List();
}

py::List SceneSnapshot::get_locations(const py::Iterable& roots) const {
  py::List locations;
  for (const py::Object& path : py::collect(roots)) {
    const std::shared_ptr<SceneCopy> copy = copy_;
    const auto id = find(*copy, "get_locations", path);
    if (!id || !copy->snapshot.is_found(*id)) continue;
    const SceneCopy::Object object = copy->objects[*id];
    auto location = py::Ref<Location>::make();
    location->init(object.name, path, object.type, object.children);
    locations.append(location);
  }
  return locations;
}

template <class G>
py::Dict SceneSnapshot::table(G&& value) const {
  const py::Dict table;
  const std::shared_ptr<SceneCopy> copy = copy_;
  for (const ObjectId id : std::vector<ObjectId>(copy->visited)) {
    if (const py::Object found = value(*copy, id)) table.set(copy->objects[id].path, found);
  }
  return table;
}

py::Dict SceneSnapshot::exists_table() const {
  return table([](const SceneCopy& copy, ObjectId id) { return py::to_python(copy.snapshot.exists(id)); });
}
py::Dict SceneSnapshot::name_table() const {
  return table([](const SceneCopy& copy, ObjectId id) { return copy.objects[id].name; });
}
py::Dict SceneSnapshot::type_table() const {
  return table([](const SceneCopy& copy, ObjectId id) { return copy.objects[id].type; });
}
py::Dict SceneSnapshot::parent_table() const {
  return table([](const SceneCopy& copy, ObjectId id) { return copy.objects[id].parent; });
}
py::Dict SceneSnapshot::children_table() const {
  return table([](SceneCopy& copy, ObjectId id) { return copy.children(id); });
}

void expose_scene_snapshot(const py::Scope& scene) {
  const py::Scope virtual_scope =
      py::Class<SceneSnapshot, QueryOp>(
          scene, "_Virtual",
          "A snapshot of a part of the scene, which answers the queries of the matching without the host.\n\n"
          "Args:\n"
          "    operator: The host to read from.\n\n"
          "The snapshot shows the scene as it stood at the last `upload`. An upload calls the host; reading does not, "
          "and may happen on any thread.")
          .no_copies("it belongs to a scene")
          .init<&SceneSnapshot::init>({"operator"})
          .operation<&SceneSnapshot::offload>("offload", "Forgets everything.")
          .operation<&SceneSnapshot::upload>(
              "upload", {"roots", {"clear", true}},
              "Copies the objects at these paths and all below them, depth first.\n\n"
              "Args:\n"
              "    roots: The paths.\n"
              "    clear: Forget what is there before.\n\n"
              "Each object is asked for once, also if the host lists it several times. RecursionError if the host says "
              "that an object stands below itself; an exception of the host passes, and what was copied until then "
              "stays; an object that was not copied as a whole gives KeyError when it is to be matched.")
          .operation<&SceneSnapshot::object_exists>(
              "object_exists", {"path"}, "Whether an object with this path existed; False if it was not looked at.")
          .operation<&SceneSnapshot::get_type>("get_type", {"path"},
                                               "The object's type; an empty text if it is unknown.")
          .operation<&SceneSnapshot::get_parent>("get_parent", {"path"},
                                                 "The parent as the host gave it; None if the object is unknown.")
          .operation<&SceneSnapshot::get_children>(
              "get_children", {"path"},
              "The list of children itself, which must not be changed; a new empty list if the object is unknown.")
          .operation<&SceneSnapshot::get_locations>(
              "get_locations", {"roots"}, "A new list with a `_Location` for each of these paths that exists.")
          .accessor<&SceneSnapshot::exists_table>("_exists", "dict[str, bool]: By path: does the object exist?")
          .accessor<&SceneSnapshot::name_table>("_name", "dict[str, str]: By path: the short name.")
          .accessor<&SceneSnapshot::type_table>("_type", "dict[str, str | None]: By path: the type.")
          .accessor<&SceneSnapshot::parent_table>("_parent", "dict[str, str | None]: By path: the parent's path.")
          .accessor<&SceneSnapshot::children_table>("_children",
                                                    "dict[str, list[str]]: By path: the list of the children's paths.")
          .readonly<&SceneSnapshot::host>("_operator", "Scene.Operator: The host.")
          .done();

  py::Class<Location>(virtual_scope, "_Location",
                      "A short description of the scene object.\n\n"
                      "Two of them are equal if their paths are.")
      .copies()
      .init<&Location::init>({"name", "path", "type", "children"})
      .equals<&Location::equals>()
      .hash<&Location::hash>()
      .field<&Location::name>("name", "str: Short name.")
      .field<&Location::path>("path", "str: Path: the identity of the object.")
      .field<&Location::type>("type", "str | None: Type of the object.")
      .field<&Location::children>("children", "list[str]: Paths of the children.")
      .done();
}

}  // namespace heron
