#include "hierarchy/planner.h"

#include "hierarchy/anchor_text.h"
#include "hierarchy/pattern.h"

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

}  // namespace

PlannedPattern::PlannedPattern(const py::Object& scopes) {
  auto definitions = std::make_shared<Definitions>();
  plan_.definitions = definitions;
  add_layer(scopes);
  for (const RulePlan& rule : plan_.rules) {
    for (const std::string_view anchor : anchor_text::find_definitions(rule.regex)) definitions->add(anchor);
  }
}

// Layers are numbered as a walk with parents before children meets them, and with them the rules: the order of the
// definitions follows from it.
const LayerPlan* PlannedPattern::add_layer(const py::Object& scopes) {
  const py::Depth depth(" while a pattern is read");
  LayerPlan& layer = plan_.layers.emplace_back();
  const py::Dict slots;  // rule to the first position of an equal rule
  for (const py::Object& scope : py::collect(scopes)) {
    const py::Object rule = rule_of(scope);
    const std::size_t position = layer.scopes.size();
    const py::Object slot = slots.find(rule).value_or(py::to_python(position));
    slots.set(rule, slot);
    const RulePlan* planned = add_rule(rule);
    const std::size_t number = scopes_.size();
    scopes_.push_back(scope);
    const LayerPlan* children = add_layer(scope.attr(fields::kChildren));
    layer.scopes.push_back({planned, children, static_cast<std::size_t>(PyLong_AsSsize_t(slot.get())), number});
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
