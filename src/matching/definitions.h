#pragma once

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

}  // namespace heron
