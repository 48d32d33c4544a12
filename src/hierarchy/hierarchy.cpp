#include "hierarchy/hierarchy.h"

#include <algorithm>

#include "hierarchy/hierarchy_run.h"
#include "hierarchy/shared_matcher.h"

namespace heron {
namespace {

bool is_optional(const py::Iterable& scopes) {
  static const py::Name kIsOptional("is_optional");
  const std::vector<py::Object> all = py::collect(scopes);
  return std::all_of(all.begin(), all.end(),
                     [](const py::Object& scope) { return rule_of(scope).call(kIsOptional).truth(); });
}

bool is_deadlock_response(const py::Object& response) {
  static const py::Name kLocation("location"), kScope("scope");
  const bool has_children = response.attr(kLocation).attr(fields::kChildren).truth();
  return is_deadlock(has_children, !response.attr(kScope).attr(fields::kChildren).truth());
}

}  // namespace

void Hierarchy::init(const SceneQueries& query_operator, const py::Object& check_classes) {
  if (running_) py::raise(PyExc_RuntimeError, "_Hierarchy cannot be initialised while it is matching");
  auto fresh_pattern = py::Ref<Pattern>::make();
  fresh_pattern->init(check_classes);
  auto fresh_search = py::Ref<Search>::make();
  fresh_search->init(query_operator);
  query_op = query_operator;
  pattern = std::move(fresh_pattern);
  search = std::move(fresh_search);
}

py::List Hierarchy::root_scopes(const py::Iterable& roots) const {
  const std::vector<py::Object> paths = py::collect(roots);
  py::List groups;
  const py::Object ghost = pattern->get_ghost();
  if (ghost.is_none()) {
    const py::List group;
    for (const py::Object& path : paths) group.append(path);
    groups.append(group);
    return groups;
  }
  const GhostPlan plan = plan_ghost(ghost);
  const py::Dict by_parent;
  for (const py::Object& path : paths) {
    if (!begins_at(plan, path)) continue;
    const py::Object parent = query_op.parent(path);
    std::optional<py::Object> group = by_parent.find(parent);
    if (!group) {
      group = py::List();
      by_parent.set(parent, *group);
      groups.append(*group);
    }
    py::List(*group).append(path);
  }
  return groups;
}

bool Hierarchy::ghost_scope_match(const py::Iterable& roots) const {
  const py::Object ghost = pattern->get_ghost();
  if (ghost.is_none()) return true;
  const GhostPlan plan = plan_ghost(ghost);
  const std::vector<py::Object> paths = py::collect(roots);
  return std::all_of(paths.begin(), paths.end(), [&](const py::Object& path) { return begins_at(plan, path); });
}

bool Hierarchy::is_ghost_root(const py::Object& ghost, const py::Object& path) const {
  return begins_at(plan_ghost(ghost), path);
}

/// May a hierarchy begin at this object?
bool Hierarchy::begins_at(const GhostPlan& plan, const py::Object& path) const {
  const py::Object parent = query_op.parent(path);
  if (!plan.at_top != parent.truth()) return false;
  if (plan.at_top) return true;
  if (!plan.accepts_name(shared_matcher(), py::Utf8(parent))) return false;
  const py::Object type = query_op.type(parent);
  return type.is_text() && plan.accepts_type(py::Utf8(type));
}

py::List Hierarchy::mask(const py::Iterable& roots) {
  HierarchyRun run(*this);
  run.find_anchors();
  LayerShelf shelf(run.locate(roots));
  py::List paths;
  for (const Pairing& pairing : run.runner().mask(shelf)) paths.append(run.path(pairing.object));
  run.finish();
  return paths;
}

bool Hierarchy::is_valid(const py::Iterable& roots) { return HierarchyRun(*this).is_valid(roots); }

bool Hierarchy::match(const py::Iterable& roots, const py::Iterable& scopes) {
  HierarchyRun run(*this, scopes);
  const bool matches = run.runner().fits(run.locate(roots), run.pattern().plan().top());
  run.finish();
  return matches;
}

void Hierarchy::find_anchors() {
  const py::Ref<Search> held = search;
  const StateEdit edit(*held->logic->state, {collect_definitions(pattern->get()), nullptr});
}

void Hierarchy::run_over_rules(const py::Object& function, const py::Iterable& scopes) const {
  const py::Depth depth(" while a pattern is walked");
  for (const py::Object& scope : py::collect(scopes)) {
    function(scope.attr(fields::kRule));
    run_over_rules(function, py::Iterable(scope.attr(fields::kChildren)));
  }
}

void expose_hierarchy(const py::Scope& module) {
  const py::Scope hierarchy =
      py::Class<Hierarchy>(module, "_Hierarchy",
                           "Compare algorithm of a single hierarchy with the specific pattern.\n\n"
                           "Args:\n"
                           "    query_operator: The scene's queries, mostly a snapshot.\n"
                           "    check_classes: The known check classes.\n\n"
                           "Not reentrant: RuntimeError for a run inside a run.")
          .no_copies("it belongs to a scene")
          .init<&Hierarchy::init>({"query_operator", "check_classes"})
          .accessor<&Hierarchy::get_pattern>("pattern", "_Hierarchy.Pattern: What is compared with.")
          .accessor<&Hierarchy::get_search>("search",
                                            "_Hierarchy.Search: The search, with the captures of the last run.")
          .operation<&Hierarchy::root_scopes>(
              "root_scopes", {"roots"},
              "Groups paths into candidate hierarchies, a list of lists.\n\n"
              "With a ghost, siblings form one and what cannot stand under the ghost drops out; otherwise all do.")
          .operation<&Hierarchy::ghost_scope_match>(
              "ghost_scope_match", {"roots"},
              "Whether all these objects may stand under the ghost; True without a ghost.")
          .operation<&Hierarchy::is_ghost_root>(
              "is_ghost_root", {"ghost", "path"},
              "Whether the object may be a root under this ghost scope: at the top of the scene if the ghost has no "
              "types or the scene root's, else under a parent of such a type whose name matches the ghost's "
              "expression.")
          .operation<&Hierarchy::mask>(
              "mask", {"roots"},
              "The paths among `roots` that the pattern's top layer claims, in the order of its scopes.\n\n"
              "Forgets all captures first. Errors of expressions pass.")
          .operation<&Hierarchy::is_valid>(
              "is_valid", {"roots"},
              "Whether these objects, with all below them, fit the pattern. Forgets all captures first.")
          .operation<&Hierarchy::find_anchors>("find_anchors",
                                               "Collects the pattern's definitions into a new table without captures.")
          .operation<&Hierarchy::run_over_rules>("_hierarchy_runner", {"function", "pattern"},
                                                 "Calls `function` with each rule of a tree, parents first.")
          .operation<&Hierarchy::match>("match", {"roots", "pattern"},
                                        "Whether these objects, with all below them, fit this list of scopes, with the "
                                        "captures as they stand.\n\n"
                                        "A layer that does not fit counts as fitting when all its rules are optional.")
          .readonly<&Hierarchy::query_op>("_query_op", "Scene._QueryOp: The scene's queries.")
          .readonly<&Hierarchy::pattern>("_pattern", "_Hierarchy.Pattern: The pattern.")
          .readonly<&Hierarchy::search>("_search", "_Hierarchy.Search: The search.")
          .done();

  py::function<&is_optional>(hierarchy, "_is_optional", {"pattern"},
                             "Whether the rules of all these scopes are optional.");
  py::function<&is_deadlock_response>(hierarchy, "_is_deadlock", {"response"},
                                      "Whether neither the object of a response nor its scope has any children.");

  expose_pattern(hierarchy);
  expose_anchor(hierarchy);
  expose_search(hierarchy);
}

}  // namespace heron
