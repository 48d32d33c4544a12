#pragma once

#include <compare>
#include <memory>
#include <string>

namespace heron {

/// A text that was captured, and the path of the object whose name held it.
struct Capture {
  std::string text, scope;
  auto operator<=>(const Capture&) const = default;
};

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

}  // namespace heron
