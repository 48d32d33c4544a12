#pragma once

#include "runtime/class.h"

namespace heron {

/// What stands in a document that was read. A value of another kind than is wanted counts as absent, with a warning.
namespace document {

bool is_map(const py::Object& value);   ///< A dict, or whatever else has `get`.
bool is_list(const py::Object& value);  ///< A list, or whatever else can be walked over; no map, and no text.

py::Object map_at(const py::Object& document, const py::Name& key);    ///< Empty if absent.
py::Object map_at(const py::Object& document, const py::Object& key);  ///< Empty if absent.
py::Object list_at(const py::Object& document, const py::Name& key);   ///< Empty if absent.
py::Object text_at(const py::Object& document, const py::Name& key);   ///< Empty if absent; as the own text class.
bool flag_at(const py::Object& document, const py::Name& key);         ///< False if absent.
bool truth_at(const py::Object& document, const py::Name& key);        ///< The same; a number stands for its truth.

/// A text as it comes.
py::Object text_at(const py::Object& document, const py::Name& key, const py::Object& otherwise);

/// A number that can be compared with any other: infinity would always be more, and NaN nothing at all.
py::Object number_at(const py::Object& document, const py::Name& key, const py::Object& otherwise);

/// The maps among the elements of a list that stands under this key.
std::vector<py::Object> maps(const py::Object& list, const py::Name& key);

void warn(const py::Object& key);  ///< That the value under this key cannot be used.
void warn(const py::Name& key);
void note(const py::Object& key);  ///< The same for the innermost `Ignored` alone, where the log is told otherwise.

/// Gathers, as long as it lives, the keys of the values that cannot be used, for the owner of the document. The
/// warnings then name the document, if it has a file.
class Ignored {
 public:
  explicit Ignored(const py::Object& file = {});
  ~Ignored();
  Ignored(const Ignored&) = delete;
  Ignored& operator=(const Ignored&) = delete;

  py::Object keys() const { return py::tuple(keys_); }

 private:
  friend void note(const py::Object& key);
  friend void warn(const py::Object& key);

  Ignored* const outer_;
  const py::Object file_;
  std::vector<py::Object> keys_;
};

}  // namespace document
}  // namespace heron
