#pragma once

#include "foundation/cycle_detector.h"
#include "host/host.h"

namespace heron {

/// The way from an object of the host to the top of its scene. RecursionError if the way never ends.
class Ancestors {
 public:
  Ancestors(const Host& host, py::Object path) : host_(host), path_(std::move(path)) { cycles_.returns(depth_, path_); }

  /// Climbs to the parent; false at the top.
  bool climb();
  const py::Object& path() const { return path_; }

 private:
  struct SamePath {
    bool operator()(const py::Object& a, const py::Object& b) const { return a.equals(b); }
  };

  const Host& host_;
  py::Object path_;
  std::size_t depth_ = 1;
  CycleDetector<py::Object, 1, SamePath> cycles_;
};

/// The top-most ancestors of many objects. No part of a way is gone twice.
class TopAncestors {
 public:
  explicit TopAncestors(Host host) : host_(std::move(host)) {}

  /// The object itself if it has no parent. RecursionError for an object that is its own ancestor.
  py::Object of(const py::Object& path);

 private:
  const Host host_;
  py::Dict tops_;  // by path; the table itself on the way that is being gone
};

}  // namespace heron
