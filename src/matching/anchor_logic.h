#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "matching/anchor_state.h"
#include "matching/anchored_expression.h"
#include "matching/capture_index.h"
#include "matching/name_matcher.h"

namespace heron {

/// Expressions with anchors: what a name must look like, given what other names held.
///
/// A rule's expression is matched in three steps. Usages are replaced by the closest visible captures; what is left of
/// anchors is replaced by the definitions' values, which gives a plain expression; and when that matches, what the
/// name holds at each definition is added to the state.
class AnchorLogic {
 public:
  /// Works on a state and with a matcher of somebody else's.
  AnchorLogic(AnchorState& state, NameMatcher& matcher) : state_(state), matcher_(matcher) {}

  AnchorState& state() { return state_; }

  /// The expression with every usage replaced by the closest capture visible from `path`, or by nothing.
  std::string replace_anchors(std::string_view expression, std::string_view path);
  /// The expression with all definitions and usages replaced by the values: a plain expression.
  std::string apply_anchors(std::string_view expression) const;
  /// The same of an expression that was taken apart for the state's definitions.
  PlainExpression make_plain(const AnchoredExpression& expression, std::string_view path);
  /// Does the expression match this name of the object at `path`? If so, its captures are recorded.
  bool match(const AnchoredExpression& expression, std::string_view name, std::string_view path);
  bool match(std::string_view expression, std::string_view name, std::string_view path) {
    return match(AnchoredExpression(expression, *state_.definitions), name, path);
  }
  bool match(const PlainExpression& expression, std::string_view name) { return matcher_.match(expression.text, name); }

  /// A text captured for a definition; whose it is, is known where it is recorded.
  struct Captured {
    std::size_t key;
    std::string text;
  };
  /// Texts captured while these definitions were looked for.
  struct CapturedTexts {
    std::shared_ptr<const Definitions> definitions;
    std::vector<Captured> texts;
  };
  /// What `name` holds at the definitions of an expression that it matches.
  CapturedTexts captures(std::string_view expression, std::string_view name);
  CapturedTexts captures(const PlainExpression& expression, std::string_view name);
  /// Adds captures to the state; those of a definition that the state knows no more are dropped.
  void record(const CapturedTexts& captured, std::string_view path);

  /// To be called at every step of long work, see NameMatcher.
  void step() { matcher_.step(); }

  bool has_anchor(std::string_view expression) const;
  bool has_sub_anchor(std::string_view expression) const;

 private:
  bool fill(const AnchoredExpression& expression, std::string_view path, PlainExpression& plain);
  std::string cut_start(std::string_view expression, std::string_view name);
  std::string cut_end(std::string_view expression, std::string_view name);

  AnchorState& state_;
  NameMatcher& matcher_;
  CaptureIndex index_;  // of the state's captures, brought up to date when one is looked for
};

}  // namespace heron
