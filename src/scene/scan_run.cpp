#include "scene/scan_run.h"

#include "foundation/text.h"

namespace heron {
namespace {

py::Object text(std::string_view outcome) { return to_str(py::text(outcome)); }

}  // namespace

void ScanRun::init(const py::Object& outcome_, const py::Object& error_) {
  outcome = outcome_;
  error = error_;
}

void expose_scan_run(const py::Scope& scanner) {
  const py::Scope run =
      py::Class<ScanRun>(scanner, "Run", "How a scan ended, and why if it failed.")
          .copies()
          .init<&ScanRun::init>({"outcome", {"error", nullptr}})
          .readonly<&ScanRun::outcome>("outcome", "str: One of the texts in `Scene._Scanner.Run.Outcome`.")
          .readonly<&ScanRun::error>("error", "BaseException | None: What ended the scan.")
          .done();

  const py::Scope all = py::make_namespace(run, "Outcome", "The ways in which a scan ends.");
  all.set("Found", text(outcome::kFound));
  all.set("NothingFound", text(outcome::kNothingFound));
  all.set("NothingSelected", text(outcome::kNothingSelected));
  all.set("AlreadyLoaded", text(outcome::kAlreadyLoaded));
  all.set("Failed", text(outcome::kFailed));
}

}  // namespace heron
