#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "matching/anchor_logic.h"
#include "matching/objects.h"
#include "matching/paged_table.h"
#include "matching/plan.h"

namespace heron {

/// Asks rules about objects, and remembers the answers that cannot change while the definitions stay the same.
///
/// A rule without usages says the same of an object whatever was captured before, and captures the same from it. A
/// scan looks at an object several times, so such an answer is worked out once.
class RuleBook {
 public:
  RuleBook(AnchorLogic& logic, Objects& objects) : logic_(logic), objects_(objects) {}

  /// Do the type and the name of the object fit the rule? If so, what the name holds is captured.
  bool matches(const RulePlan& rule, ObjectId object);

  /// Does the rule say the same of an object each time?
  bool is_fixed(const RulePlan& rule) { return facts(rule).fixed; }
  /// May a matching name be captured from?
  bool captures(const RulePlan& rule) { return facts(rule).captures; }

 private:
  enum class Answer : unsigned char { kUnknown, kRefused, kMatched };
  struct Facts {
    bool fixed = false, captures = false;
    AnchoredExpression expression;
    std::optional<PlainExpression> plain;  // of a fixed rule, once asked for
    PagedTable<Answer> answers;
    std::unordered_map<ObjectId, AnchorLogic::CapturedTexts> captured;
  };

  Facts& facts(const RulePlan& rule) {
    const bool known = definitions_ == logic_.state().definitions && rule.number < facts_.size() && facts_[rule.number];
    return known ? *facts_[rule.number] : find_facts(rule);
  }
  Facts& find_facts(const RulePlan& rule);
  Answer work_out(const RulePlan& rule, Facts& facts, ObjectId object);

  AnchorLogic& logic_;
  Objects& objects_;
  std::shared_ptr<const Definitions> definitions_;  // those that the facts hold for
  std::vector<std::unique_ptr<Facts>> facts_;       // by the rule's number
};

}  // namespace heron
