#include "hierarchy/pattern.h"

#include <algorithm>
#include <limits>

#include "checks/checklist.h"
#include "foundation/constants.h"
#include "foundation/text.h"
#include "hierarchy/planned_pattern.h"
#include "hierarchy/sorter.h"
#include "runtime/modules.h"

namespace heron {
namespace {

/// All integers from a minimum to a maximum, as a set that takes no room: a rule may allow a thousand million.
class Interval {
 public:
  static py::Object of(const py::Object& minimum, const py::Object& maximum) {
    auto interval = py::Ref<Interval>::make();
    const py::Object range = py::Object::borrow(reinterpret_cast<PyObject*>(&PyRange_Type));
    const py::Object beyond = py::Object::steal(PyNumber_Add(maximum.get(), py::to_python(1).get()));
    interval->numbers = range(minimum, beyond);
    return interval;
  }

  Py_ssize_t length() const { return numbers.length(); }
  bool contains(const py::Object& number) const {
    // Asked for anything but an integer, a range would be walked from end to end.
    py::Object integer = number;
    if (PyFloat_Check(number.get()) != 0) {
      static const py::Name kIsInteger("is_integer");
      if (!number.call(kIsInteger).truth()) return false;
      integer = py::Object::steal(PyNumber_Long(number.get()));
    } else if (PyIndex_Check(number.get()) != 0) {
      integer = py::Object::steal(PyNumber_Index(number.get()));
    } else {
      return false;
    }
    return py::holds(numbers, integer);
  }
  py::Object iterate() const { return numbers.iterate(); }
  bool equals(const py::Object& other) const {
    if (py::is_instance<Interval>(other.get())) return numbers.equals(py::value_of<Interval>(other.get()).numbers);
    if (PyAnySet_Check(other.get()) == 0) return false;
    const std::vector<py::Object> wanted = py::collect(other);
    const bool all = std::all_of(wanted.begin(), wanted.end(), [&](const py::Object& n) { return contains(n); });
    return all && wanted.size() == count();
  }
  /// What the operators of sets give.
  static py::Object set_of(const py::Object& numbers) { return py::Object::steal(PySet_New(numbers.get())); }
  py::Object text() const { return py::text("{" + py::Utf8(numbers.string()).str() + "}"); }

  /// The number of integers; as many as the machine can count where there are more.
  std::size_t count() const {
    const Py_ssize_t length = PyObject_Length(numbers.get());
    if (length >= 0) return static_cast<std::size_t>(length);
    if (PyErr_ExceptionMatches(PyExc_OverflowError) == 0) throw py::Error();
    PyErr_Clear();
    return std::numeric_limits<std::size_t>::max();
  }

  py::Object numbers = py::tuple({});

  template <class V>
  void members(V& visit) {
    visit(numbers);
  }
};

/// Makes a class with the three operations that a set must have one of `collections.abc.Set`, with the operators of
/// such.
void make_set(const py::Object& type) {
  static const py::Name kSet("Set"), kRegister("register");
  static const py::Name kOperations[] = {
      py::Name("__le__"),   py::Name("__lt__"),   py::Name("__ge__"),    py::Name("__gt__"),  py::Name("__and__"),
      py::Name("__rand__"), py::Name("__or__"),   py::Name("__ror__"),   py::Name("__sub__"), py::Name("__rsub__"),
      py::Name("__xor__"),  py::Name("__rxor__"), py::Name("isdisjoint")};
  const py::Object set = py::modules::collections_abc.attr(kSet);
  for (const py::Name& operation : kOperations) type.set_attr(operation, set.attr(operation));
  set.call(kRegister, type);
}

py::Object copied(const py::Object& value) {
  static const py::Name kCopy("copy");
  return value.is_none() ? value : py::modules::copy.call(kCopy, value);
}

}  // namespace

void PatternRule::init(const py::Object& config, const py::Object& checklist_) {
  stamp = config.attr(fields::kStamp);
  name = config.attr(fields::kName);
  icon = config.attr(fields::kIcon);
  color = config.attr(fields::kColor);
  regex = config.attr(fields::kRegex);
  types = copied(config.attr(fields::kTypes));
  range = copied(config.attr(fields::kRange));
  checklist = checklist_;
}

py::Object PatternRule::get_range() const {
  return Interval::of(range.attr(fields::kMinimum), range.attr(fields::kMaximum));
}

bool PatternRule::is_optional() const { return plan_range(range).optional(); }

bool PatternRule::equals(const py::Object& other) const {
  if (!py::is_instance<PatternRule>(other.get())) return false;
  const PatternRule& rule = py::value_of<PatternRule>(other.get());
  return stamp.equals(rule.stamp) && name.equals(rule.name) && regex.equals(rule.regex) && types.equals(rule.types) &&
         range.equals(rule.range);
}

Py_hash_t PatternRule::hash() const { return py::tuple({stamp, name, regex}).hash(); }

py::List Pattern::get() const {
  const py::Object ghost = get_ghost();
  return ghost.is_none() ? hierarchy : py::List(ghost.attr(fields::kChildren));
}

py::Object Pattern::get_ghost() const {
  static const auto* ghost_name = new py::Object(py::text(constants::kGhost));
  for (const py::Object& scope : hierarchy.items()) {
    if (to_str(rule_of(scope).attr(fields::kName)).equals(*ghost_name)) return scope;
  }
  return py::Object::none();
}

void Pattern::set(const py::Object& record) {
  set_rules(py::Iterable(record.attr(fields::kRules)));
  set_hierarchy(record.attr(fields::kPattern), py::Object::none());
  sorter::sort(get());
}

void Pattern::set_rules(const py::Iterable& project_rules) {
  const py::Dict fresh;
  const py::Object classes = check_classes.is_none() ? py::List() : check_classes;
  for (const py::Object& project_rule : py::collect(project_rules)) {
    const auto checklist = py::made<Checklist>(classes, py::Object::none(), py::Object::none());
    checklist->load(project_rule.attr(fields::kCheckConfig));
    auto rule = py::Ref<PatternRule>::make();
    rule->init(project_rule, checklist);
    fresh.set(project_rule.attr(fields::kStamp), rule);
  }
  rules = fresh;
}

void Pattern::set_hierarchy(const py::Object& pattern, const py::Object& root) {
  const py::Depth depth(" while a pattern is loaded");
  if (root.is_none()) hierarchy.clear();
  const py::List target = root.is_none() ? hierarchy : py::List(root);
  for (const py::Object& node : py::collect(pattern.attr(fields::kChildren))) {
    const py::List children;
    set_hierarchy(node, children);
    auto scope = py::Ref<PatternScope>::make();
    scope->rule = py::Dict(rules).find(node.attr(fields::kRule).attr(fields::kStamp)).value_or(py::Object::none());
    scope->children = children;
    target.append(scope);
  }
}

py::Object Pattern::get_checklist(const py::Object& stamp) const {
  static const py::Name kChecklist("checklist");
  const std::optional<py::Object> rule = py::Dict(rules).find(stamp);
  return rule ? rule->attr(kChecklist) : py::Object::none();
}

bool Pattern::is_verifiable(const py::Object& stamp) const {
  static const py::Name kIsEmpty("is_empty");
  const py::Object checklist = get_checklist(stamp);
  return !checklist.is_none() && !checklist.call(kIsEmpty).truth();
}

py::Object rule_of(const py::Object& scope) {
  py::Object rule = scope.attr(fields::kRule);
  if (rule.is_none()) {
    py::raise(PyExc_AttributeError, "a node of the pattern has no rule: its stamp is not in the list of rules");
  }
  return rule;
}

void expose_pattern(const py::Scope& hierarchy) {
  const py::Scope pattern =
      py::Class<Pattern>(
          hierarchy, "Pattern",
          "A class to describe hierarchy pattern.\n\n"
          "Args:\n"
          "    check_classes: The known check classes, from which the rules' checklists are built; None for none.")
          .no_copies("it belongs to a hierarchy and its check classes")
          .init<&Pattern::init>({"check_classes"})
          .operation<&Pattern::get>("get",
                                    "The scopes that are compared with the scene, as the stored list: those below the "
                                    "ghost, or the top ones if there is no ghost.")
          .operation<&Pattern::get_ghost>(
              "get_ghost", "The scope at the top whose rule is named \"ghost\", the first one; None without a ghost.")
          .operation<&Pattern::has_ghost>("has_ghost", "Whether there is a ghost.")
          .operation<&Pattern::set>(
              "set", {"project_settings_record"},
              "Rebuilds the pattern from a record's `rules` and `pattern`, and sorts it for the search.\n\n"
              "AttributeError if a node refers to a rule that is not in the list; RecursionError for a tree that is "
              "too deep.")
          .operation<&Pattern::set_rules>("_set_rules", {"rules"},
                                          "Replaces the rules by copies of these; they stay as they were if one fails.")
          .operation<&Pattern::set_hierarchy>(
              "_set_hierarchy", {"pattern", {"root", nullptr}},
              "Appends a scope for each child of a node to `root`, or makes them the whole tree.")
          .operation<&Pattern::get_checklist>("get_checklist", {"stamp"},
                                              "The checklist of the rule with this stamp, or None.")
          .operation<&Pattern::is_verifiable>("is_verifiable", {"stamp"},
                                              "Whether the rule with this stamp has a check that is enabled.")
          .field<&Pattern::check_classes>("check_classes", "Any: The known check classes.")
          .readonly<&Pattern::rules>("_rules", "dict[str, _Hierarchy.Pattern.Rule]: Stamp to rule.")
          .readonly<&Pattern::hierarchy>(
              "_hierarchy",
              "list[_Hierarchy.Pattern.Scope]: The top scopes; the same list for the life of the pattern.")
          .done();

  const py::Scope rule =
      py::Class<PatternRule>(pattern, "Rule",
                             "A class to describe an item of the hierarchy pattern.\n\n"
                             "Args:\n"
                             "    config: A project's rule, copied: later edits of it do not show here.\n"
                             "    checklist: The checks of this rule, or None.\n\n"
                             "Equal rules have the same stamp, name, regex, types and range.")
          .copies()
          .init<&PatternRule::init>({"config", "checklist"})
          .equals<&PatternRule::equals>()
          .hash<&PatternRule::hash>()
          .operation<&PatternRule::get_range>("get_range",
                                              "How many objects of a layer may match: all integers from the minimum to "
                                              "the maximum, as a set that takes no room.")
          .operation<&PatternRule::is_optional>("is_optional",
                                                "Whether a layer may go without an object for this rule.")
          .field<&PatternRule::stamp>("stamp", "str: Identity of the rule.")
          .field<&PatternRule::name>("name", "str: Name of the rule; \"ghost\" is reserved.")
          .field<&PatternRule::icon>("icon", "str: Icon for display.")
          .field<&PatternRule::color>("color", "str: Colour for display.")
          .field<&PatternRule::regex>("regex", "str: Expression for the object's name, with anchors.")
          .field<&PatternRule::types>("types", "list[str] | None: Allowed object types; none means any.")
          .field<&PatternRule::range>(
              "range", "_Project.Settings.Rule.Range: How many objects of a layer must match: `minimum` to `maximum`.")
          .field<&PatternRule::checklist>("checklist", "Any: The checks of this rule, or None.")
          .done();

  py::Class<Interval>(rule, "_Interval", "All integers from a minimum to a maximum, equal to a set of the same.")
      .copies()
      .length<&Interval::length>()
      .contains<&Interval::contains>()
      .iterate<&Interval::iterate>()
      .equals<&Interval::equals>()
      .text<&Interval::text>()
      .static_operation<&Interval::set_of>("_from_iterable", {"it"}, "A new set of these numbers.")
      .done();
  make_set(py::type_of<Interval>());

  py::Class<PatternScope>(pattern, "Scope", "Connection between a pattern item and its children.")
      .copies()
      .init<&PatternScope::init>({"rule", "children"})
      .field<&PatternScope::rule>("rule", "_Hierarchy.Pattern.Rule: The rule, or None where the record lacks it.")
      .field<&PatternScope::children>("children", "list[_Hierarchy.Pattern.Scope]: The scopes below, as a list.")
      .done();

  expose_sorter(pattern);
}

}  // namespace heron
