#pragma once

#include <string>
#include <string_view>

namespace heron::py {

/// A docstring as its readers see it: the lines of a paragraph are filled to one width, wherever the source breaks
/// them. Indented lines, those of lists and examples, stay by themselves.
std::string fill_docstring(std::string_view text);

}  // namespace heron::py
