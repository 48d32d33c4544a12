#include "matching/rule_book.h"

namespace heron {

bool RuleBook::matches(const RulePlan& rule, ObjectId object) {
  logic_.step();
  const ObjectView& view = objects_.view(object);
  Facts& known = facts(rule);
  if (!known.fixed) return rule.accepts_type(view.type) && logic_.match(known.expression, view.name, view.path);
  Answer answer = known.answers[object];
  if (answer == Answer::kUnknown) {
    answer = work_out(rule, known, object);
    known.answers[object] = answer;
  }
  if (answer == Answer::kRefused) return false;
  if (!known.captures) return true;
  if (const auto found = known.captured.find(object); found != known.captured.end()) {
    logic_.record(found->second, view.path);
  }
  return true;
}

RuleBook::Answer RuleBook::work_out(const RulePlan& rule, Facts& facts, ObjectId object) {
  const ObjectView& view = objects_.view(object);
  if (!rule.accepts_type(view.type)) return Answer::kRefused;
  if (!facts.plain) facts.plain = logic_.make_plain(facts.expression, view.path);
  if (!logic_.match(*facts.plain, view.name)) return Answer::kRefused;
  if (facts.captures) {
    AnchorLogic::CapturedTexts captured = logic_.captures(*facts.plain, view.name);
    if (!captured.texts.empty()) facts.captured.emplace(object, std::move(captured));
  }
  return Answer::kMatched;
}

RuleBook::Facts& RuleBook::find_facts(const RulePlan& rule) {
  if (definitions_ != logic_.state().definitions) {
    definitions_ = logic_.state().definitions;
    facts_.clear();
  }
  if (facts_.size() <= rule.number) facts_.resize(rule.number + 1);
  std::unique_ptr<Facts>& facts = facts_[rule.number];
  if (!facts) {
    facts = std::make_unique<Facts>();
    facts->expression = AnchoredExpression(rule.regex, *definitions_);
    facts->fixed = !logic_.has_sub_anchor(rule.regex);
    facts->captures = logic_.has_anchor(rule.regex);
  }
  return *facts;
}

}  // namespace heron
