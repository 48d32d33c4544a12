#include "matching/definitions.h"

#include <stdexcept>

namespace heron {

Definition::Definition(std::string_view text) : text_(text) {
  if (anchor_text::has_definition(text)) unpacked_ = anchor_text::unpack(text);
}

const anchor_text::Unpacked& Definition::unpacked() const {
  if (unpacked_) return *unpacked_;
  anchor_text::unpack(text_);  // throws what is wrong with it
  throw std::invalid_argument("invalid definition: '" + text_ + "'");
}

std::size_t Definitions::add(std::string_view text) {
  const auto [found, added] = keys_.try_emplace(std::string(text), all_.size());
  if (added) all_.emplace_back(text);
  return found->second;
}

std::optional<std::size_t> Definitions::find(const std::string& text) const {
  const auto found = keys_.find(text);
  if (found == keys_.end()) return std::nullopt;
  return found->second;
}

}  // namespace heron
