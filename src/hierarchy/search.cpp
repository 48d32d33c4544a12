#include "hierarchy/search.h"

#include "hierarchy/pattern.h"
#include "hierarchy/state_edit.h"

namespace heron {

void Result::init(const py::Object& array_) { array = array_.truth() ? array_ : py::List(); }

Search::Run::Run(Search& owner, const py::Object& roots, const py::Object& scopes, bool exact)
    : planned(PlannedPattern::layer(scopes)),
      objects(owner.operator_),
      shelf(objects.locate(roots)),
      rules(owner.logic->logic(), objects),
      search(owner.logic->logic(), objects, rules) {
  search.load(shelf, planned.plan().top(), exact);
}

void Search::init(const SceneQueries& query_operator) { operator_ = query_operator; }

py::Ref<Result> Search::layer(const py::Iterable& roots, const py::Iterable& layer_scopes, bool layer_exact) {
  load_variables(roots, layer_scopes, layer_exact);
  backup_state();
  make_guess();
  if (!wrong_guess()) return create_response(false);
  reset_state();
  return create_response(true);
}

void Search::load_variables(const py::Iterable& roots, const py::Iterable& layer_scopes, bool layer_exact) {
  auto run = std::make_shared<Run>(*this, roots, layer_scopes, layer_exact);
  run_ = std::move(run);
  scopes = layer_scopes;
  exact = layer_exact;
}

void Search::backup_state() { backup_ = logic->state->clone(); }

void Search::reset_state() { logic->state->apply(backup_); }

void Search::make_guess() {
  const std::shared_ptr<Run> run = current();
  if (run->guessing) py::raise(PyExc_RuntimeError, "make_guess() is already running");
  const struct Guessing {
    explicit Guessing(bool& flag_) : flag(flag_) { flag = true; }
    ~Guessing() { flag = false; }
    bool& flag;
  } guessing(run->guessing);
  StateEdit edit(*logic->state);
  run->search.set_backup(StateEdit(*backup_).state());
  edit.begin_search(run->planned.plan().top());
  run->search.make_guess();
  edit.end_search(run->search);
}

bool Search::scope_match(const py::Object& location, const py::Object& scope) {
  const RulePlan rule = plan_fit(rule_of(scope));
  const ScopePlan planned{&rule, nullptr, !scope.attr(fields::kChildren).truth(), 0, 0};
  LocationObjects objects(operator_);
  RuleBook rules(logic->logic(), objects);
  const ObjectId object = objects.add(location);  // reading it may run Python code, which may change the captures
  StateEdit edit(*logic->state);
  const bool matches = LayerSearch(logic->logic(), objects, rules).scope_match(object, planned);
  edit.commit();
  return matches;
}

bool Search::wrong_guess() { return current()->search.wrong_guess(); }

py::Ref<Result> Search::create_response(bool empty) {
  const std::shared_ptr<Run> run = current();
  auto result = py::Ref<Result>::make();
  const py::List array;
  if (!empty) {
    for (const Pairing& pairing : run->search.response()) {
      auto response = py::Ref<Response>::make();
      response->init(run->objects.location(pairing.object), run->planned.scope(*pairing.scope));
      array.append(response);
    }
  }
  result->array = array;
  return result;
}

py::List Search::locations() const {
  py::List list;
  if (run_) {
    for (const LayerShelf::Position position : run_->shelf.free()) {
      list.append(run_->objects.location(run_->shelf.object(position)));
    }
  }
  return list;
}

py::Dict Search::guess() const {
  py::Dict table;
  if (!run_) return table;
  for (const ScopePlan& scope : run_->planned.plan().top().scopes) {
    const auto* taken = run_->search.taken(scope.slot);
    if (taken == nullptr) continue;
    const py::List list;
    for (const LayerShelf::Position position : *taken) {
      list.append(run_->objects.location(run_->shelf.object(position)));
    }
    table.set(run_->planned.rule(scope), list);
  }
  return table;
}

const std::shared_ptr<Search::Run>& Search::current() {
  if (!run_) load_variables(py::List(), py::List(), true);
  return run_;
}

void expose_search(const py::Scope& hierarchy) {
  const py::Scope search =
      py::Class<Search>(
          hierarchy, "Search",
          "Compare algorithm of a single hierarchy layer with the pattern layer.\n\n"
          "Args:\n"
          "    query_operator: Offers `get_locations`.\n\n"
          "The objects are handed out to the scopes in order, each taking what it matches up to its maximum; then the "
          "guess is judged as a whole. A wrong one leaves no trace in the captures, and no other is tried. Equal rules "
          "share what they take: the later one's takings stand for both.")
          .no_copies("it belongs to a hierarchy and its scene")
          .init<&Search::init>({"query_operator"})
          .operation<&Search::layer>("layer", {"roots", "scopes", {"exact", true}},
                                     "Compares objects with scopes.\n\n"
                                     "Args:\n"
                                     "    roots: Paths of sibling objects.\n"
                                     "    scopes: Sibling scopes.\n"
                                     "    exact: Every object must be taken.\n\n"
                                     "A `Result` in the order of the scopes; an empty one if the layer does not fit, "
                                     "or holds nothing. Errors of expressions pass.")
          .operation<&Search::load_variables>("load_variables", {"roots", "scopes", "exact"}, "Begins a layer.")
          .operation<&Search::backup_state>("backup_state", "Remembers the captures.")
          .operation<&Search::reset_state>("reset_state", "Puts the remembered captures back.")
          .operation<&Search::make_guess>("make_guess", "Hands the objects out to the scopes.")
          .operation<&Search::scope_match>("scope_match", {"location", "scope"},
                                           "Whether this object fits this scope. What its name holds is captured even "
                                           "if only its children are in the way.")
          .operation<&Search::wrong_guess>("wrong_guess",
                                           "Whether a scope is short of objects, or an object left over.")
          .operation<&Search::create_response>("create_response", {{"empty", false}},
                                               "The guess as a `Result`, or an empty one.")
          .readonly<&Search::operator_>("_operator", "Scene._QueryOp: The query object.")
          .accessor<&Search::get_logic>("logic",
                                        "_Hierarchy.Anchor: The anchors of this search; its captures outlive a layer.")
          .accessor<&Search::backup>("_state", "_Hierarchy.Anchor._State: The captures that `reset_state` puts back.")
          .accessor<&Search::locations>("_locations",
                                        "list[Scene._Virtual._Location]: The objects that no scope has taken.")
          .readonly<&Search::scopes>("_scopes", "list[_Hierarchy.Pattern.Scope]: The scopes of the layer.")
          .readonly<&Search::exact>("_exact", "bool: Whether every object must be taken.")
          .accessor<&Search::guess>(
              "_guess", "dict[_Hierarchy.Pattern.Rule, list[Scene._Virtual._Location]]: What each rule took.")
          .done();

  py::Class<Result>(search, "Result", "What a layer's search found.")
      .copies()
      .init<&Result::init>({{"array", nullptr}})
      .operation<&Result::is_empty>("is_empty", "Whether there is no response.")
      .iterate<&Result::iterate>()
      .readonly<&Result::array>("_array", "list[_Hierarchy.Search.Response]: The responses in order.")
      .done();

  py::Class<Response>(search, "Response", "One object matched by one scope.")
      .copies()
      .init<&Response::init>({"location", "scope"})
      .field<&Response::location>("location", "Scene._Virtual._Location: The object.")
      .field<&Response::scope>("scope", "_Hierarchy.Pattern.Scope: The scope that took it.")
      .done();
}

}  // namespace heron
