#include "hierarchy/planned_pattern.h"

#include "hierarchy/pattern.h"
#include "matching/anchor_text.h"

namespace heron {
namespace {

std::vector<std::string> type_texts(const py::Object& types) {
  std::vector<std::string> texts;
  if (types.is_text()) return {py::Utf8(types).str()};  // a single type, given without a list
  for (const py::Object& type : py::collect(types)) {
    if (type.is_text()) texts.push_back(py::Utf8(type).str());
  }
  return texts;
}

void collect(const py::Object& scopes, Definitions& definitions) {
  const py::Depth depth(" while a pattern is read");
  for (const py::Object& scope : py::collect(scopes)) {
    const py::Utf8 regex(rule_of(scope).attr(fields::kRegex));
    for (const std::string_view anchor : anchor_text::find_definitions(regex)) definitions.add(anchor);
    collect(scope.attr(fields::kChildren), definitions);
  }
}

}  // namespace

std::shared_ptr<const Definitions> collect_definitions(const py::Object& scopes) {
  auto definitions = std::make_shared<Definitions>();
  collect(scopes, *definitions);
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
    const LayerPlan* below = whole ? add_layer(children, whole) : nullptr;
    const auto first = static_cast<std::size_t>(PyLong_AsSsize_t(slot.get()));
    layer.scopes.push_back({planned, below, !children.truth(), first, number});
  }
  return &layer;
}

const RulePlan* PlannedPattern::add_rule(const py::Object& rule) {
  const RulePlan*& known = planned_[rule.get()];
  if (known != nullptr) return known;
  RulePlan planned;
  planned.number = plan_.rules.size();
  planned.regex = py::Utf8(rule.attr(fields::kRegex)).str();
  const py::Object types = rule.attr(fields::kTypes);
  planned.any_type = !types.truth();
  if (!planned.any_type) planned.types = type_texts(types);
  const py::Object range = rule.attr(fields::kRange);
  planned.minimum = clamped(range.attr(fields::kMinimum));
  planned.maximum = clamped(range.attr(fields::kMaximum));
  rules_.push_back(rule);
  known = &plan_.rules.emplace_back(std::move(planned));
  return known;
}

}  // namespace heron
