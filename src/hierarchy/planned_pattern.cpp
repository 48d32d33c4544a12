#include "hierarchy/planned_pattern.h"

#include <limits>

#include "foundation/constants.h"
#include "hierarchy/pattern.h"
#include "matching/anchor_text.h"
#include "runtime/identity_set.h"

namespace heron {
namespace {

/// An integer of any size as the nearest one that counts objects.
long long clamped(const py::Object& number) {
  const py::Object integer = py::Object::steal(PyNumber_Index(number.get()));
  int overflow = 0;
  const long long value = PyLong_AsLongLongAndOverflow(integer.get(), &overflow);
  if (overflow != 0)
    return overflow > 0 ? std::numeric_limits<long long>::max() : std::numeric_limits<long long>::min();
  if (value == -1 && PyErr_Occurred() != nullptr) throw py::Error();
  return value;
}

std::vector<std::string> type_texts(const py::Object& types) {
  std::vector<std::string> texts;
  if (types.is_text()) return {py::Utf8(types).str()};  // a single type, given without a list
  for (const py::Object& type : py::collect(types)) {
    if (type.is_text()) texts.push_back(py::Utf8(type).str());
  }
  return texts;
}

RulePlan plan_types(const py::Object& rule) {
  RulePlan planned;
  const py::Object types = rule.attr(fields::kTypes);
  planned.any_type = !types.truth();
  if (!planned.any_type) planned.types = type_texts(types);
  return planned;
}

std::string regex_of(const py::Object& rule) { return py::Utf8(rule.attr(fields::kRegex)).str(); }

void collect(const py::Object& scopes, Definitions& definitions, py::IdentitySet& known) {
  const py::Depth depth(" while a pattern is read");
  for (const py::Object& scope : py::collect(scopes)) {
    if (known.contains(scope)) continue;
    const py::Utf8 regex(rule_of(scope).attr(fields::kRegex));
    for (const std::string_view anchor : anchor_text::find_definitions(regex)) definitions.add(anchor);
    collect(scope.attr(fields::kChildren), definitions, known);
    known.add(scope);
  }
}

}  // namespace

RulePlan plan_fit(const py::Object& rule) {
  RulePlan planned = plan_types(rule);
  planned.regex = regex_of(rule);
  return planned;
}

CountRange plan_range(const py::Object& range) {
  return {clamped(range.attr(fields::kMinimum)), clamped(range.attr(fields::kMaximum))};
}

GhostPlan plan_ghost(const py::Object& ghost) {
  const py::Object rule = rule_of(ghost);
  GhostPlan planned{plan_types(rule), false};
  planned.at_top = planned.rule.any_type || planned.accepts_type(constants::kSceneRoot);
  if (!planned.at_top) planned.rule.regex = regex_of(rule);  // else there is no name to compare with
  return planned;
}

std::shared_ptr<const Definitions> collect_definitions(const py::Object& scopes) {
  auto definitions = std::make_shared<Definitions>();
  py::IdentitySet known;
  collect(scopes, *definitions, known);
  return definitions;
}

PlannedPattern::PlannedPattern(const py::Object& scopes, bool whole) {
  if (whole) plan_.definitions = collect_definitions(scopes);
  add_layer(scopes, whole);
}

const LayerPlan* PlannedPattern::add_layer(const py::Object& scopes, bool whole) {
  const py::Depth depth(" while a pattern is read");
  LayerPlan& layer = plan_.layers.emplace_back();
  const py::Dict slots;  // rule to the first position of an equal rule
  for (const py::Object& scope : py::collect(scopes)) {
    const py::Object rule = rule_of(scope), children = scope.attr(fields::kChildren);
    const std::size_t position = layer.scopes.size();
    const py::Object slot = slots.find(rule).value_or(py::to_python(position));
    slots.set(rule, slot);
    const RulePlan* planned = add_rule(rule);
    const std::size_t number = scopes_.size();
    scopes_.push_back(scope);
    const LayerPlan*& below = below_[scope.get()];
    if (whole && below == nullptr) below = add_layer(children, whole);
    const auto first = static_cast<std::size_t>(PyLong_AsSsize_t(slot.get()));
    layer.scopes.push_back({planned, below, !children.truth(), first, number});
  }
  return &layer;
}

const RulePlan* PlannedPattern::add_rule(const py::Object& rule) {
  const RulePlan*& known = planned_[rule.get()];
  if (known != nullptr) return known;
  RulePlan planned = plan_fit(rule);
  planned.number = plan_.rules.size();
  planned.range = plan_range(rule.attr(fields::kRange));
  rules_.push_back(rule);
  known = &plan_.rules.emplace_back(std::move(planned));
  return known;
}

}  // namespace heron
