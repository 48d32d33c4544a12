#pragma once

#include "runtime/containers.h"

namespace heron {

/// What of a document of statistics can be used.
///
/// Each list in it is a category of records, known or not. Left out are: what is no record, as it is no map or its
/// "timestamp" is no number; a known category that is no list; a "version" that is no number; whatever cannot be
/// written as JSON in UTF-8.
class SoundStatistics {
 public:
  explicit SoundStatistics(const py::Dict& document);  ///< The document stays as it is.

  const py::Dict& content() const { return content_; }
  bool is_whole() const { return partial_.empty(); }          ///< Nothing was left out.
  py::Object partial() const { return py::tuple(partial_); }  ///< Names of the members of which something was.

 private:
  void add(const py::Object& name, const py::Object& value, bool all_writable);
  static py::List records(const py::Object& category, const py::List& entries, bool all_writable);

  py::Dict content_;
  std::vector<py::Object> partial_;
};

/// Records by category, and in each by their time: the form in which those of several processes are merged.
namespace timed_table {

/// Of the lists of a document, but for a "version" in any letter case. Of two records of one time the later stands.
py::Dict of(const py::Dict& document);

py::Dict bucket(const py::Dict& table, const py::Object& category);  ///< A new one, if there is none, joins the table.

py::Dict flat(const py::Dict& table);  ///< A list of records for each category.

}  // namespace timed_table

}  // namespace heron
