#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "matching/definitions.h"

namespace heron {

/// An expression taken apart at its anchors, once for all names that it is compared with.
///
/// That tells all there is to do only if an anchor cannot come about in another way than standing in the expression,
/// and if its value is put in as it is. Otherwise there are no pieces, and the expression is worked on as text.
class AnchoredExpression {
 public:
  struct Piece {
    enum class Kind { kText, kUsage, kDefinition };
    Kind kind;
    std::size_t key;   ///< The definition's number, for anchors.
    std::string text;  ///< For a definition its value.
  };

  AnchoredExpression() = default;
  AnchoredExpression(std::string_view text, const Definitions& definitions);

  const std::string& text() const { return text_; }
  bool in_pieces() const { return in_pieces_; }
  const std::vector<Piece>& pieces() const { return pieces_; }

 private:
  bool take_apart(const Definitions& definitions);
  bool add_anchor(std::string_view anchor, const Definitions& definitions);
  void add_text(std::string_view text);

  std::string text_;
  bool in_pieces_ = false;
  std::vector<Piece> pieces_;
};

/// An expression without anchors, and where the values of definitions stand in it.
struct PlainExpression {
  struct Place {
    std::size_t key, begin, end;
  };
  std::string text;
  std::vector<Place> places;                       ///< In the order of the keys.
  std::string replaced;                            ///< Without usages only, if the expression has no pieces.
  std::shared_ptr<const Definitions> definitions;  ///< Those that the keys count.
};

}  // namespace heron
