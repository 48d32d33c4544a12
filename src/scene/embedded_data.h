#pragma once

#include <vector>

#include "scene/bucket.h"
#include "scene/joint.h"

namespace heron {

/// Writes buckets and joints as they are embedded in the scene: a new map for each, its texts plain ones.
///
/// A map is a copy of one that holds what all joints of a rule have in common, which takes half the time of filling an
/// empty one. One writer should therefore serve for all that is written at once.
class EmbeddedWriter {
 public:
  EmbeddedWriter();

  py::Dict write(const DataBucket& bucket);
  /// With everything below it. RecursionError for a joint that stands below itself.
  py::Dict write(const DataJoint& joint);

 private:
  struct Face {
    py::Object stamp, type, icon, color;
    py::Dict form;  ///< A joint's map with these values, the others to be filled in.
  };

  py::Dict map_of(const DataJoint& joint, const py::List& children);
  py::Dict form_of(const DataJoint& joint);

  const py::Dict bucket_form_;  ///< As a scan leaves buckets: checked and opened.
  std::vector<Face> faces_;
};

/// A new bucket of such data, which may lack any key.
py::Ref<DataBucket> read_bucket(const py::Object& data);
/// A new joint, with all below it. RecursionError for data that stands below itself.
py::Ref<DataJoint> read_joint(const py::Object& data);

}  // namespace heron
