#pragma once

#include <compare>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "matching/anchor_text.h"

namespace heron {

/// A definition anchor of the pattern, taken apart once.
class Definition {
 public:
  explicit Definition(std::string_view text);

  /// `<name:value>` as it stands in expressions: the key of the table. A table made in Python may have other keys.
  const std::string& text() const { return text_; }
  bool is_definition() const { return unpacked_.has_value(); }
  const std::string& usage() const { return unpacked().usage; }  ///< `<name>`
  const std::string& value() const { return unpacked().value; }

 private:
  /// std::invalid_argument for a key that is no definition: it can be kept, but not matched with.
  const anchor_text::Unpacked& unpacked() const;

  std::string text_;
  std::optional<anchor_text::Unpacked> unpacked_;
};

/// The definition anchors of a pattern, in the order in which they are looked for. Never changes once shared.
class Definitions {
 public:
  std::size_t add(std::string_view text);  ///< The number of this definition, new or known.
  std::optional<std::size_t> find(const std::string& text) const;
  std::size_t size() const { return all_.size(); }
  const Definition& operator[](std::size_t key) const { return all_[key]; }
  auto begin() const { return all_.begin(); }
  auto end() const { return all_.end(); }

 private:
  std::vector<Definition> all_;
  std::unordered_map<std::string, std::size_t> keys_;
};

/// A text that was captured, and the path of the object whose name held it.
struct Capture {
  std::string text, scope;
  auto operator<=>(const Capture&) const = default;
  /// The order that a set of captures counts as having, so that of equally close ones the first path wins.
  static bool backwards(const Capture& a, const Capture& b) {
    return a.scope != b.scope ? a.scope > b.scope : a.text > b.text;
  }
};

/// Orders captures by how long a start of their path they share with `path`, the longest first. Among equals the one
/// that stands later comes first.
void sort_by_closeness(std::vector<Capture>& captures, std::string_view path);

/// A capture in the chain of all that were made before it.
///
/// States are copied, extended and put back all the time while a layer is searched. As links of a chain they share
/// all that they have in common: a copy is one pointer, a capture one new link, going back a shorter chain.
struct CaptureLink {
  CaptureLink(std::shared_ptr<const CaptureLink> before_, std::size_t key_, Capture capture_)
      : before(std::move(before_)), length(before ? before->length + 1 : 1), key(key_), capture(std::move(capture_)) {}
  ~CaptureLink();
  CaptureLink(const CaptureLink&) = delete;
  CaptureLink& operator=(const CaptureLink&) = delete;

  std::shared_ptr<const CaptureLink> before;
  std::size_t length;  ///< Links up to this one.
  std::size_t key;     ///< The definition's number.
  Capture capture;
};
using CaptureChain = std::shared_ptr<const CaptureLink>;

/// The memory of a match: the definitions, and everything captured for them so far. Cheap to copy.
struct AnchorState {
  std::shared_ptr<const Definitions> definitions = std::make_shared<Definitions>();
  CaptureChain last;

  /// Adds a capture that the state does not hold yet.
  void add(std::size_t key, Capture capture) {
    last = std::make_shared<const CaptureLink>(std::move(last), key, std::move(capture));
  }
  /// The captures of each definition, sorted.
  std::vector<std::vector<Capture>> tables() const;
};

}  // namespace heron
