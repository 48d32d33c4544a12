#pragma once

#include "runtime/class.h"

namespace heron {

/// The way from an object of the host to the top of its scene. RecursionError if the way never ends.
class Ancestors {
 public:
  Ancestors(const py::Object& host, py::Object path) : host_(host), path_(std::move(path)) {}

  /// Climbs to the parent; false at the top.
  bool climb();
  const py::Object& path() const { return path_; }
  /// The top-most one: the object itself if it has no parent.
  const py::Object& last();

 private:
  const py::Object& host_;
  py::Object path_;
  py::Object seen_ = py::Object::steal(PySet_New(nullptr));
};

}  // namespace heron
