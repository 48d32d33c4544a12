#pragma once

#include <string_view>

#include "runtime/class.h"

namespace heron {

/// How a scan ended.
namespace outcome {
inline constexpr std::string_view kFound = "found";
inline constexpr std::string_view kNothingFound = "nothing found";
inline constexpr std::string_view kNothingSelected = "nothing selected";
inline constexpr std::string_view kAlreadyLoaded = "already loaded";
inline constexpr std::string_view kFailed = "failed";
}  // namespace outcome

/// How a scan ended, and why if it failed.
class ScanRun {
 public:
  void init(const py::Object& outcome_, const py::Object& error_);

  py::Object outcome, error;

  template <class V>
  void members(V& visit) {
    visit(outcome);
    visit(error);
  }
};

/// Puts `Run` into `Scene._Scanner`.
void expose_scan_run(const py::Scope& scanner);

}  // namespace heron
