#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace heron {

/// An object of the scene, numbered densely by whoever offers it.
using ObjectId = std::uint32_t;

/// What the search needs to know of an object. The texts live as long as who offers the object.
struct ObjectView {
  std::string_view name, path;
  std::string_view type;  ///< Without data where the type is no text: then no list of types holds it.
  bool has_children = false;
};

/// Where the search finds the objects of a scene.
class Objects {
 public:
  virtual ~Objects() = default;
  virtual const ObjectView& view(ObjectId object) const = 0;
  /// Puts the children of an object that exist, in order, in place of what is in the list.
  virtual void children(ObjectId object, std::vector<ObjectId>& into) = 0;
};

}  // namespace heron
