#pragma once

#include <cstddef>
#include <string_view>

namespace heron::path_text {

// What the text of an object's path tells. All texts are UTF-8; no operation splits a character.

/// The short name of an object: what stands behind the last "|" or "/" of its path.
std::string_view short_name(std::string_view path);

/// The number of bytes of the longest common start of two texts that ends between characters.
std::size_t shared_start(std::string_view a, std::string_view b);

/// Takes the names of a path's parents off it, from the top. The three separators "\", "|" and "/" are alike.
class Parents {
 public:
  explicit Parents(std::string_view path) : rest_(path) {}
  std::string_view next();  ///< Empty after the last one.

 private:
  std::string_view rest_;
};

/// The part of a path before its last name: paths that agree in it have the same parents.
std::string_view directory(std::string_view path);

/// Is what was captured at `scope` visible from `path`: are the parents of the one the first parents of the other?
bool same_scope(std::string_view scope, std::string_view path);

}  // namespace heron::path_text
