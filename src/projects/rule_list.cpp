#include "projects/rule_list.h"

#include <algorithm>

#include "foundation/constants.h"

namespace heron {
namespace {

/// Where the predefined rules differ from a rule of no data.
struct Predefined {
  std::string_view name, regex, type, color, icon;
  int minimum, maximum;
};

constexpr Predefined kPredefined[] = {
    {"empty", ".+", "", "#000000", "Something", 1, 1},
    {"render", ".+", constants::kMesh, "#4390ea", "Render", 1, 1},
    {constants::kGhost, "", "", "#262626", "Ghost", 0, 99},
};

py::Ref<ProjectRule> to_rule(const Predefined& values) {
  py::List types;
  if (!values.type.empty()) types.append(to_str(py::text(values.type)));
  py::Dict data;
  data.set(py::text("name"), py::text(values.name));
  data.set(py::text("regex"), py::text(values.regex));
  data.set(py::text("types"), types);
  data.set(py::text("range"), py::tuple({py::to_python(values.minimum), py::to_python(values.maximum)}));
  data.set(py::text("color"), py::text(values.color));
  data.set(py::text("icon"), py::text(values.icon));
  return py::made<ProjectRule>(data);
}

}  // namespace

void RuleList::init(const py::Object& stored) {
  array = py::List();
  for (const py::Object& data : py::collect(stored)) array.append(py::made<ProjectRule>(data));
  sync_names();
}

py::List RuleList::predefined() {
  py::List rules;
  for (const Predefined& values : kPredefined) rules.append(to_rule(values));
  return rules;
}

std::vector<RuleList::Rule> RuleList::rules() const {
  std::vector<Rule> rules;
  for (py::Object& object : array.items()) rules.emplace_back(std::move(object));
  return rules;
}

py::List RuleList::names() const {
  py::List names;
  for (const Rule& rule : rules()) names.append(rule->name());
  return names;
}

py::List RuleList::data() const {
  py::List data;
  for (const Rule& rule : rules()) data.append(rule->data());
  return data;
}

bool RuleList::has_ghost() const {
  return std::ranges::any_of(rules(), [](const Rule& rule) { return rule->is_ghost(); });
}

bool RuleList::has_unique_name(const Rule& rule) const {
  return std::ranges::none_of(rules(),
                              [&](const Rule& other) { return !other.is(rule) && other->name().equals(rule->name()); });
}

py::Object RuleList::get(const py::Object& stamp) const {
  for (const Rule& rule : rules()) {
    if (rule->stamp().equals(stamp)) return rule;
  }
  return py::Object::none();
}

py::Dict RuleList::by_stamp() const {
  py::Dict table;
  for (const Rule& rule : rules()) {
    if (!table.find(rule->stamp())) table.set(rule->stamp(), rule);
  }
  return table;
}

bool RuleList::append(const Rule& rule) const {
  if (rule->is_ghost() && has_ghost()) return false;
  rule->set_name(control->get_init(rule->name()));
  array.append(rule);
  control->append(rule->name());
  return true;
}

bool RuleList::remove(const py::Object& rule) const {
  const auto at = array.find(rule);
  if (!at) return false;
  const Rule removed(rule);
  array.remove_at(*at);
  control->remove(removed->name());
  return true;
}

void RuleList::rename(const Rule& rule, const py::Object& name) const {
  control->rename(rule->name(), name);
  rule->set_name(name);
}

void RuleList::reorder(const py::Object& wanted) const {
  std::vector<Rule> order;
  for (const py::Object& object : py::collect(wanted)) {
    if (Rule::holds(object)) order.emplace_back(object);
  }
  if (order.empty()) return;

  const py::Dict known = take_all();
  py::Dict used;
  for (const Rule& rule : order) {
    if (!known.find(rule->stamp())) continue;
    array.append(rule);  // the rule that was given: it may be another than the known one of this stamp
    used.set(rule->stamp(), rule);
  }
  for (const auto& [stamp, rule] : known.items()) {
    if (!used.find(stamp)) array.append(rule);
  }
}

/// Pops every rule off the list, into a table by stamp. The table is in the order of the popping, so what `reorder`
/// leaves out comes back in reverse.
py::Dict RuleList::take_all() const {
  const std::vector<Rule> old = rules();
  array.clear();
  py::Dict table;
  for (auto rule = old.rbegin(); rule != old.rend(); ++rule) {
    const py::Object& stamp = (*rule)->stamp();
    if (table.find(stamp)) table.remove(stamp);  // the place counts of the rule that is popped last
    table.set(stamp, *rule);
  }
  return table;
}

void RuleList::sync_names() const {
  control->clear();
  for (const Rule& rule : rules()) control->append(rule->name());
}

void expose_rule_list(const py::Scope& rule) {
  py::Class<RuleList>(
      rule, "List",
      "The rules of a record, in order. A loop gives each `Rule`.\n\n"
      "Built from the JSON form, a list of rules' JSON forms, which is taken as it is: equal names stay.")
      .copies()
      .init<&RuleList::init>({"array"})
      .static_operation<&RuleList::predefined>("predefined", {},
                                               "A new list of the rules that every project offers, with new stamps.")
      .accessor<&RuleList::data>("data", "list[dict[str, Any]]: The JSON form, a new list.")
      .accessor<&RuleList::names>("names", "list[str]: A new list of the names, in order.")
      .operation<&RuleList::is_empty>("is_empty", "Whether there is no rule.")
      .operation<&RuleList::sync_names>("sync_names", "Registers the names anew. Equal names stay equal.")
      .operation<&RuleList::has_unique_name>("has_unique_name", {"rule"},
                                             "Whether no other rule of the list has this rule's name.")
      .operation<&RuleList::rename>("rename", {"rule", "name"},
                                    "Gives a rule a name, whether it is free or not: see `has_unique_name`.")
      .operation<&RuleList::reorder>("reorder", {"rules"},
                                     "Puts the list into the order of these rules.\n\n"
                                     "Anything that is no rule, or of a stamp that the list does not have, is skipped; "
                                     "if no rule is left, nothing changes. Rules of the list that are not given come "
                                     "last, in reverse order. Names are not registered anew.")
      .operation<&RuleList::get>("get", {"stamp"}, "The first rule of this stamp, or None.")
      .operation<&RuleList::append>("append", {"rule"},
                                    "Adds a rule at the end. Its name gets a number if it is taken.\n\n"
                                    "`Constants.Plugin.Status.Failure`, and no change, for a second ghost rule.")
      .operation<&RuleList::has_ghost>("has_ghost", "Whether there is a ghost rule.")
      .operation<&RuleList::remove>("remove", {"rule"},
                                    "Removes this very rule.\n\n"
                                    "`Constants.Plugin.Status.Failure` if it is not in the list.")
      .readonly<&RuleList::array>("_array", "list[_Project.Settings.Rule]: The rules in order.")
      .readonly<&RuleList::control>("_control", "_NamesControl: The register of their names.")
      .iterate<&RuleList::iterate>()
      .done();
}

}  // namespace heron
