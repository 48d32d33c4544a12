#include "scene/scanner.h"

#include <unordered_set>

#include "foundation/failure.h"
#include "foundation/kept_error.h"
#include "foundation/logger.h"
#include "foundation/text.h"
#include "host/ways.h"
#include "matching/paged_table.h"
#include "runtime/garbage_collector.h"
#include "scene/bucket.h"
#include "scene/joint.h"
#include "scene/joint_builder.h"
#include "scene/reload.h"

namespace heron {
namespace {

const py::Name kUsedScanSelection("used_scan_selection"), kEmptyScanSelection("empty_scan_selection");
const py::Name kEmptyScanResult("empty_scan_result");
const py::Name kName("name");

constexpr bool kSuccess = true, kFailure = false;

py::Object set_of(const py::Object& items) { return py::Object::steal(PyFrozenSet_New(items.or_none())); }

bool have_common(const py::Object& a, const py::Object& b) {
  static const py::Name kIsDisjoint("isdisjoint");
  return !set_of(a).call(kIsDisjoint, b).truth();
}

/// What tells buckets apart. Their own hash leaves the path out, so that many of one name would all collide.
py::Object identity(const py::Object& object) {
  if (!py::is_instance<DataBucket>(object.get())) return object;
  const DataBucket& bucket = py::value_of<DataBucket>(object.get());
  if (!py::is_instance<DataJoint>(bucket.joint.get())) return object;
  const DataJoint& joint = py::value_of<DataJoint>(bucket.joint.get());
  return py::tuple({joint.stamp, joint.name.characters(), joint.path.characters(), joint.type, bucket.name_characters(),
                    bucket.checked, bucket.opened});
}

py::Object make_bucket(const py::Object& joint) {
  auto bucket = py::Ref<DataBucket>::make();
  bucket->init(joint, py::Object::none(), py::to_python(true), py::to_python(true));
  return bucket;
}

/// Tells whether a bucket without a ghost equals one found before in the same scan: it does if both stand for the same
/// object and equal stamps and names of rules. Asks for no Python object of each bucket, as `_filter` has to.
class Duplicates {
 public:
  explicit Duplicates(const HierarchyRun& run) : run_(run) {}

  bool is_new(const Pairing& pairing) {
    const std::uint32_t face = face_of(*pairing.scope);
    std::uint32_t& first = first_[pairing.object];
    if (first == kNone) {
      first = face;
      return true;
    }
    return first != face && more_.insert(static_cast<std::uint64_t>(pairing.object) << 32U | face).second;
  }

 private:
  std::uint32_t face_of(const ScopePlan& scope) {
    if (faces_.size() <= scope.rule->number) faces_.resize(scope.rule->number + 1, kNone);
    std::uint32_t& face = faces_[scope.rule->number];
    if (face == kNone) {
      const py::Object& rule = run_.pattern().rule(scope);
      const py::Object key = py::tuple({rule.attr(fields::kStamp), rule.attr(fields::kName)});
      const py::Object number = numbers_.find(key).value_or(py::to_python(numbers_.size()));
      numbers_.set(key, number);
      face = static_cast<std::uint32_t>(PyLong_AsSsize_t(number.get())) + 1;
    }
    return face;
  }

  static constexpr std::uint32_t kNone = 0;

  const HierarchyRun& run_;
  std::vector<std::uint32_t> faces_;  // by the rule's number: one of its stamp and name
  py::Dict numbers_;
  PagedTable<std::uint32_t> first_;  // face with which an object was found first
  std::unordered_set<std::uint64_t> more_;
};

/// Takes the hierarchies of one candidate group, one after the other, until the pattern claims nothing more.
void scan_group(HierarchyRun& run, JointBuilder& builder, Duplicates& duplicates, bool has_ghost,
                const py::Object& group, const py::List& buckets) {
  Runner& runner = run.runner();
  LayerShelf shelf(run.locate(group));
  std::vector<ObjectId> layer;
  while (true) {
    layer.clear();
    for (const Pairing& pairing : runner.mask(shelf)) {
      layer.push_back(pairing.object);
      shelf.remove(pairing.position);
    }
    if (layer.empty()) return;
    // What the top layer claims may still fail as a whole; then it is dropped.
    const MatchTree* tree = runner.match_whole(layer);
    if (tree == nullptr) continue;
    run.pause();  // the host's hooks may use the hierarchy
    py::List joints = builder.build(*tree);
    if (has_ghost) joints = builder.under_ghost(joints);
    run.resume();
    for (Py_ssize_t i = 0; i < joints.size(); ++i) {
      const bool fresh = has_ghost || duplicates.is_new(tree->nodes[static_cast<std::size_t>(i)].pairing);
      if (fresh) buckets.append(make_bucket(joints.at(i)));
    }
  }
}

}  // namespace

void Scanner::init(const py::Object& api_, const Host& host_, const py::RefOrNone<SceneSnapshot>& snapshot_,
                   const py::Ref<Hierarchy>& hierarchy_, const py::RefOrNone<Buffer>& buffer_,
                   const py::Object& callbacks_) {
  api = api_;
  host = host_;
  snapshot = snapshot_;
  hierarchy = hierarchy_;
  buffer = buffer_;
  callbacks = callbacks_;
}

bool Scanner::upload_buffer(bool append) {
  last_run = py::Object();
  try {
    return look(append);
  } catch (const std::exception&) {
    end(outcome::kFailed, kept(py::current_error()));
    throw;
  }
}

void Scanner::end(std::string_view outcome, const py::Object& error) {
  last_run = py::made<ScanRun>(to_str(py::text(outcome)), error);
}

/// Ends a scan that has brought nothing, and tells the front-end.
bool Scanner::end_with(std::string_view outcome, const py::Name& event) {
  end(outcome);
  callbacks.attr(event)();
  return kFailure;
}

bool Scanner::look(bool append) {
  const py::List selection = host.selection();
  py::List loaded;
  for (const py::Object& group : buffer->get_path_groups().items()) {
    for (const py::Object& path : py::collect(group)) {
      if (path.is_text()) loaded.append(path);  // what is embedded may hold anything
    }
  }
  if (append && have_common(selection, loaded)) return end_with(outcome::kAlreadyLoaded, kUsedScanSelection);
  const bool nothing_selected = selection.empty();
  // A scan of nothing shows the user what is loaded already; it stays a failure.
  if (nothing_selected && !append) host.select(loaded);
  if (nothing_selected) return end_with(outcome::kNothingSelected, kEmptyScanSelection);
  const py::GarbageCollectorPause pause;
  py::List result;
  try {
    result = search(append);
  } catch (const std::exception&) {
    const py::Error error = py::current_error();
    if (!error.is_failure()) throw;
    logger::exception(error.value());
    failure::log(py::text("scan"), error);
    end(outcome::kFailed, kept(error));
    return kFailure;
  }
  host.select(selection);
  if (result.empty()) return end_with(outcome::kNothingFound, kEmptyScanResult);
  buffer->add(result);
  buffer->sort(py::Object::none());
  buffer->update();
  end(outcome::kFound);
  return kSuccess;
}

py::List Scanner::search(bool append) const {
  if (!append) buffer->erase();
  const py::List scene_roots = host.selection_roots();
  snapshot->upload(scene_roots, true);
  return scan(py::Iterable(find_scope_roots(scene_roots)));
}

py::Object Scanner::find_scope_roots(const py::Object& scene_roots) const {
  const py::Object ghost = hierarchy->pattern->get_ghost();
  if (ghost.is_none()) return scene_roots;
  if (plan_ghost(ghost).at_top) return scene_roots;
  Ways ways = ways_to_scope_roots(ghost, set_of(scene_roots));
  py::List result;
  for (const py::Object& path : host.selection().items()) {
    const py::Object found_root = ways.end_of(path);
    if (found_root.truth()) result.append(found_root);
  }
  return result;
}

py::Object Scanner::find_scope_root(const py::Object& path, const py::Object& ghost,
                                    const py::Object& scene_roots) const {
  return ways_to_scope_roots(ghost, scene_roots).end_of(path);
}

/// Ways up that end just below a scene root.
Ways Scanner::ways_to_scope_roots(const py::Object& ghost, const py::Object& scene_roots) const {
  return Ways(host,
              [scene_roots, ghost, hierarchy = hierarchy](const py::Object& path,
                                                          const py::Object& parent) -> std::optional<py::Object> {
                if (!parent.truth()) return py::Object::none();
                if (!py::holds(scene_roots, parent)) return std::nullopt;
                return hierarchy->is_ghost_root(ghost, path) ? path : py::Object::none();
              });
}

py::List Scanner::scan(const py::Iterable& roots) const {
  const bool has_ghost = hierarchy->pattern->has_ghost();
  const std::vector<py::Object> groups = hierarchy->root_scopes(roots).items();
  py::List buckets;
  if (!groups.empty()) {
    HierarchyRun run(*hierarchy);
    run.find_anchors();
    JointBuilder builder(run, host);
    Duplicates duplicates(run);
    for (const py::Object& group : groups) scan_group(run, builder, duplicates, has_ghost, group, buckets);
    run.finish();
  }
  return has_ghost ? filter(buckets) : buckets;
}

py::List Scanner::filter(const py::Iterable& buckets) const {
  const py::Object seen = py::Object::steal(PySet_New(nullptr));
  py::List result;
  for (const py::Object& bucket : py::collect(buckets)) {
    const py::Object key = identity(bucket);
    if (py::holds(seen, key)) continue;
    py::checked(PySet_Add(seen.get(), key.get()));
    result.append(bucket);
  }
  return result;
}

py::List Scanner::load(const py::Iterable& roots, const py::Object& pattern) const {
  if (pattern.is_none()) return Loader(hierarchy, host).load(roots);
  HierarchyRun run(*hierarchy, pattern);
  const MatchTree& tree = run.runner().find(run.locate(roots), run.pattern().plan().top());
  run.finish();
  run.pause();  // as above
  return JointBuilder(run, host).build(tree);
}

py::Object Scanner::choose_name(const py::Iterable& data) {
  const std::vector<py::Object> joints = py::collect(data);
  return joints.empty() ? py::text("") : joints.front().attr(kName);
}

void Scanner::reload_buffer() const {
  const py::GarbageCollectorPause pause;
  Reload(hierarchy, host, buffer).all();
  buffer->sort(py::Object::none());
  buffer->update();
}

void Scanner::reload_bucket(const py::Object& bucket) const { Reload(hierarchy, host, buffer).bucket(bucket); }

void expose_scanner(const py::Scope& scene) {
  const py::Scope scope =
      py::Class<Scanner>(scene, "_Scanner",
                         "Finds the hierarchies below the host's selection that match the pattern.\n\n"
                         "Args:\n"
                         "    api: The owner.\n"
                         "    operator: The host.\n"
                         "    virtual: The snapshot.\n"
                         "    hierarchy: The matcher.\n"
                         "    buffer: Where the found hierarchies go.\n"
                         "    callbacks: The front-end's events.")
          .no_copies("it belongs to a scene")
          .init<&Scanner::init>({"api", "operator", "virtual", "hierarchy", "buffer", "callbacks"})
          .operation<&Scanner::upload_buffer>(
              "upload_buffer", {{"append", false}},
              "Scans below the selection.\n\n"
              "Args:\n"
              "    append: Add to the buffer instead of replacing its content.\n\n"
              "True if something was found; it is then embedded in the scene. False fires `used_scan_selection`, "
              "`empty_scan_selection` or `empty_scan_result`, or logs the exception that ended the scan; `last_run` "
              "says which, "
              "from before the event on. The host's hooks may use the hierarchy and the buffer; the scan goes on with "
              "the objects as they were.")
          .operation<&Scanner::reload_buffer>("reload_buffer",
                                              "Matches each bucket's roots again and embeds the outcome. Buckets that "
                                              "match no more leave; the others keep "
                                              "name, checked and opened. The host's hooks may mark the objects, but "
                                              "not change which there are: for the "
                                              "groups of one scene root the scene is read once.")
          .operation<&Scanner::reload_bucket>("_reload_bucket", {"bucket"}, "Matches one bucket's roots again.")
          .operation<&Scanner::find_scope_roots>("_find_scope_roots", {"scene_roots"},
                                                 "The paths at which hierarchies can begin.")
          .operation<&Scanner::find_scope_root>("_find_scope_root", {"path", "ghost", "scene_roots"},
                                                "The ancestor of an object, or itself, just below a scene root, if it "
                                                "can stand under the ghost; else None.")
          .operation<&Scanner::scan>("_scan", {"roots"}, "New buckets of all hierarchies among these objects.")
          .operation<&Scanner::filter>("_filter", {"buckets"}, "The buckets without those equal to an earlier one.")
          .operation<&Scanner::load>(
              "_load", {"roots", {"pattern", nullptr}},
              "New joints of these objects, matched with the pattern, or with a list of scopes and "
              "the captures as they stand.")
          .static_operation<&Scanner::choose_name>("_choose_name", {"data"},
                                                   "The first joint's name, or an empty text.")
          .readonly<&Scanner::last_run>(
              "last_run",
              "Scene._Scanner.Run | None: How the last `upload_buffer` ended; None before the "
              "first and during one.")
          .readonly<&Scanner::api>("_api", "Api: The owner.")
          .readonly<&Scanner::host>("_op", "Scene.Operator: The host.")
          .readonly<&Scanner::snapshot>("_virtual", "Scene._Virtual: The snapshot.")
          .readonly<&Scanner::hierarchy>("_hierarchy", "_Hierarchy: The matcher.")
          .readonly<&Scanner::buffer>("_buffer", "Scene._Buffer: The buffer.")
          .readonly<&Scanner::callbacks>("_callbacks", "_CallBacks: The events.")
          .done();

  expose_scan_run(scope);
}

}  // namespace heron
