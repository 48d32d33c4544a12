#include "matching/anchor_logic.h"

#include <algorithm>
#include <functional>

#include "matching/anchor_text.h"
#include "matching/closeness.h"

namespace heron {
namespace {

bool stands_in(std::string_view piece, std::string_view text) { return text.find(piece) != std::string_view::npos; }

/// Replaces a usage by one capture after the other, the closest first: a captured text that brings the usage back
/// leaves work for the next one.
std::string replace_in_turn(std::string expression, std::string_view usage, std::vector<Capture> captures,
                            std::string_view path) {
  closeness::sort_set(captures, path, std::identity());
  for (const Capture& capture : captures) {
    if (capture.text.empty() || !path_text::same_scope(capture.scope, path)) continue;
    expression = anchor_text::replace_all(expression, usage, capture.text);
  }
  return expression;
}

void replace_by_value(std::string& expression, std::string_view anchor, std::string_view value) {
  if (!stands_in(anchor, expression)) return;
  std::string part = anchor_text::trim_end(anchor, value, expression);
  part = anchor_text::trim_start(anchor, part, expression);
  expression = anchor_text::replace_all(expression, anchor, part);
}

}  // namespace

std::string AnchorLogic::replace_anchors(std::string_view expression, std::string_view path) {
  std::string result(expression);
  for (std::size_t key = 0; key < state_.definitions->size(); ++key) {
    const std::string& usage = (*state_.definitions)[key].usage();
    if (!stands_in(usage, result)) continue;
    index_.follow(state_.last);
    if (const Capture* capture = index_.closest(key, path)) {
      std::string replaced = anchor_text::replace_all(result, usage, capture->text);
      const bool anew = stands_in(usage, replaced);  // the captured texts hold the usage, or make one where they meet
      result = anew ? replace_in_turn(std::move(result), usage, state_.tables()[key], path) : std::move(replaced);
    }
    if (stands_in(usage, result)) result = anchor_text::replace_all(result, usage, "");
  }
  return result;
}

std::string AnchorLogic::apply_anchors(std::string_view expression) const {
  std::string result(expression);
  for (const Definition& definition : *state_.definitions) {
    replace_by_value(result, definition.text(), definition.value());
    replace_by_value(result, definition.usage(), definition.value());
  }
  return result;
}

PlainExpression AnchorLogic::make_plain(const AnchoredExpression& expression, std::string_view path) {
  PlainExpression plain{{}, {}, {}, state_.definitions};
  if (!fill(expression, path, plain)) {
    plain.places.clear();
    plain.replaced = replace_anchors(expression.text(), path);
    plain.text = apply_anchors(plain.replaced);
  }
  return plain;
}

/// False if the pieces do not tell all; then what is in `plain` is of no use.
bool AnchorLogic::fill(const AnchoredExpression& expression, std::string_view path, PlainExpression& plain) {
  using Kind = AnchoredExpression::Piece::Kind;
  if (!expression.in_pieces()) return false;
  plain.text.reserve(2 * expression.text().size());
  for (const AnchoredExpression::Piece& piece : expression.pieces()) {
    if (piece.kind == Kind::kUsage) {
      index_.follow(state_.last);
      const Capture* capture = index_.closest(piece.key, path);
      if (capture == nullptr) continue;
      if (capture->text.find_first_of("<>") != std::string::npos) return false;  // may make anchors
      plain.text.append(capture->text);
      continue;
    }
    const std::size_t begin = plain.text.size();
    plain.text.append(piece.text);
    if (piece.kind == Kind::kDefinition) plain.places.push_back({piece.key, begin, plain.text.size()});
  }
  std::sort(plain.places.begin(), plain.places.end(), [](const auto& a, const auto& b) { return a.key < b.key; });
  return true;
}

bool AnchorLogic::match(const AnchoredExpression& expression, std::string_view name, std::string_view path) {
  const PlainExpression plain = make_plain(expression, path);
  if (!match(plain, name)) return false;
  record(captures(plain, name), path);
  return true;
}

AnchorLogic::CapturedTexts AnchorLogic::captures(std::string_view expression, std::string_view name) {
  CapturedTexts captured{state_.definitions, {}};
  for (std::size_t key = 0; key < captured.definitions->size(); ++key) {
    const std::string& text = (*captured.definitions)[key].text();
    if (!stands_in(text, expression)) continue;
    // Not a group of the expression: what is left once the parts before and after are cut away.
    const auto [start, end] = anchor_text::split_at(expression, text);
    std::string rest = cut_end(apply_anchors(end), cut_start(apply_anchors(start), name));
    if (!rest.empty()) captured.texts.push_back({key, std::move(rest)});
  }
  return captured;
}

AnchorLogic::CapturedTexts AnchorLogic::captures(const PlainExpression& expression, std::string_view name) {
  if (!expression.replaced.empty()) return captures(expression.replaced, name);
  CapturedTexts captured{expression.definitions, {}};
  for (const PlainExpression::Place& place : expression.places) {
    const std::string_view text = expression.text;
    std::string rest = cut_end(text.substr(place.end), cut_start(text.substr(0, place.begin), name));
    if (!rest.empty()) captured.texts.push_back({place.key, std::move(rest)});
  }
  return captured;
}

std::string AnchorLogic::cut_start(std::string_view expression, std::string_view name) {
  if (expression.empty()) return std::string(name);
  if (expression.starts_with('^')) return matcher_.remove_all(expression, name);
  return matcher_.remove_all("^" + std::string(expression), name);
}

std::string AnchorLogic::cut_end(std::string_view expression, std::string_view name) {
  if (expression.empty()) return std::string(name);
  if (expression.ends_with('$')) return matcher_.remove_all(expression, name);
  return matcher_.remove_all(std::string(expression) + "$", name);
}

void AnchorLogic::record(const CapturedTexts& captured, std::string_view path) {
  for (const auto& [key, text] : captured.texts) {
    // An expression may run Python code, and that may give the state another table.
    const bool same = captured.definitions == state_.definitions;
    const std::optional<std::size_t> known = same ? key : state_.definitions->find((*captured.definitions)[key].text());
    if (!known) continue;
    index_.follow(state_.last);
    auto link = std::make_shared<const CaptureLink>(state_.last, *known, Capture{text, std::string(path)});
    if (index_.extend(link)) state_.last = std::move(link);
  }
}

bool AnchorLogic::has_anchor(std::string_view expression) const {
  return std::any_of(state_.definitions->begin(), state_.definitions->end(),
                     [&](const Definition& definition) { return stands_in(definition.text(), expression); });
}

bool AnchorLogic::has_sub_anchor(std::string_view expression) const {
  return std::any_of(state_.definitions->begin(), state_.definitions->end(),
                     [&](const Definition& definition) { return stands_in(definition.usage(), expression); });
}

}  // namespace heron
