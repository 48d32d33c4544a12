#pragma once

#include <functional>
#include <optional>

#include "host/host.h"

namespace heron {

/// The ways up from many objects of the host, as far as they go. No part of a way is gone twice.
class Ways {
 public:
  /// What a way ends with, told of an object on it and of its parent; nothing if the way goes on to the parent.
  using End = std::function<std::optional<py::Object>(const py::Object& path, const py::Object& parent)>;

  Ways(Host host, End end) : host_(std::move(host)), end_(std::move(end)) {}
  /// Ways that end with the top-most ancestor, or the object itself if it has no parent.
  static Ways to_top(const Host& host);

  /// RecursionError for an object that is its own ancestor.
  py::Object end_of(const py::Object& path);

 private:
  const Host host_;
  const End end_;
  py::Dict ends_;  // by path; the table itself on the way that is being gone
};

}  // namespace heron
