#pragma once

#include <array>

#include "runtime/class.h"

namespace heron {

/// Something that happened; its time is that at which it is read.
class UseRecord {
 public:
  py::Dict data() const;
};

// Each kind below has its category, `kKey`.

/// An export.
class ExportRecord : public UseRecord {
 public:
  static constexpr std::string_view kKey = "exported";
};

/// A feedback message that was sent.
class FeedbackRecord : public UseRecord {
 public:
  static constexpr std::string_view kKey = "feedback_sent";
};

/// A validation. The values are kept as they come, here and in the next.
class ValidationRecord : public UseRecord {
 public:
  static constexpr std::string_view kKey = "validate";

  void init(const py::Object& timestamp, const py::Object& speed, const py::Object& project);
  py::Dict data() const;

  py::Object timestamp, speed, project;

  template <class V>
  void members(V& visit) {
    visit(timestamp);
    visit(speed);
    visit(project);
  }
};

/// A run of a check on an object.
class CheckRecord : public UseRecord {
 public:
  static constexpr std::string_view kKey = "checks";

  void init(const py::Object& timestamp, const py::Object& speed, const py::Object& name, const py::Object& result);
  py::Dict data() const;

  py::Object timestamp, speed, name, result;

  template <class V>
  void members(V& visit) {
    visit(timestamp);
    visit(speed);
    visit(name);
    visit(result);
  }
};

/// The keys of all kinds of records, which are the categories of a document.
inline constexpr std::array kCategories = {ValidationRecord::kKey, CheckRecord::kKey, ExportRecord::kKey,
                                           FeedbackRecord::kKey};

/// Puts `Type` into `_Statistics`.
void expose_statistics_records(const py::Scope& statistics);

}  // namespace heron
