#include "matching/anchored_expression.h"

#include <algorithm>

namespace heron {
namespace {

using Kind = AnchoredExpression::Piece::Kind;

/// Only ends with the first ">"? A "<" inside does no harm: no expression with one is taken apart.
bool stands_in_brackets(std::string_view text) { return text.starts_with('<') && text.find('>') + 1 == text.size(); }

}  // namespace

AnchoredExpression::AnchoredExpression(std::string_view text, const Definitions& definitions) : text_(text) {
  in_pieces_ = take_apart(definitions);
}

// With a pair of brackets around each anchor and none inside or elsewhere, whatever stands from one "<" to the next ">"
// is an anchor of the expression or no anchor at all.
bool AnchoredExpression::take_apart(const Definitions& definitions) {
  const auto is_plain = [](const Definition& definition) {
    return definition.is_definition() && stands_in_brackets(definition.text());
  };
  if (!std::all_of(definitions.begin(), definitions.end(), is_plain)) return false;
  std::string_view rest = text_;
  for (std::size_t open = rest.find_first_of("<>"); open != std::string_view::npos; open = rest.find_first_of("<>")) {
    const std::size_t close = rest.find_first_of("<>", open + 1);
    if (rest[open] != '<' || close == std::string_view::npos || rest[close] != '>') return false;
    add_text(rest.substr(0, open));
    if (!add_anchor(rest.substr(open, close + 1 - open), definitions)) return false;
    rest.remove_prefix(close + 1);
  }
  add_text(rest);
  return true;
}

bool AnchoredExpression::add_anchor(std::string_view anchor, const Definitions& definitions) {
  for (std::size_t key = 0; key < definitions.size(); ++key) {
    const Definition& definition = definitions[key];
    if (anchor == definition.usage()) {  // of definitions with one usage, the first takes it
      pieces_.push_back({Kind::kUsage, key, {}});
      return true;
    }
    if (anchor != definition.text()) continue;
    const std::string& value = definition.value();
    if (value.starts_with('^') || value.ends_with('$')) return false;  // these go where more stands beside them
    // One that stands twice is an error, in its own place.
    if (std::any_of(pieces_.begin(), pieces_.end(),
                    [&](const Piece& piece) { return piece.kind == Kind::kDefinition && piece.key == key; })) {
      return false;
    }
    pieces_.push_back({Kind::kDefinition, key, value});
    return true;
  }
  add_text(anchor);
  return true;
}

void AnchoredExpression::add_text(std::string_view text) {
  if (!text.empty()) pieces_.push_back({Kind::kText, 0, std::string(text)});
}

}  // namespace heron
