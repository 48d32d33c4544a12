#include "server/statistics_records.h"

#include "foundation/clock.h"

namespace heron {
namespace {

const py::Name kTimestamp("timestamp"), kSpeed("speed"), kProject("project"), kName("name"), kResult("result");

}  // namespace

py::Dict UseRecord::data() const {
  py::Dict data;
  data.set(kTimestamp, clock::now());
  return data;
}

void ValidationRecord::init(const py::Object& time, const py::Object& seconds, const py::Object& name) {
  timestamp = time;
  speed = seconds;
  project = name;
}

py::Dict ValidationRecord::data() const {
  py::Dict data;
  data.set(kProject, project);
  data.set(kTimestamp, timestamp);
  data.set(kSpeed, speed);
  return data;
}

void CheckRecord::init(const py::Object& time, const py::Object& seconds, const py::Object& long_name,
                       const py::Object& outcome) {
  timestamp = time;
  speed = seconds;
  name = long_name;
  result = outcome;
}

py::Dict CheckRecord::data() const {
  py::Dict data;
  data.set(kName, name);
  data.set(kResult, result);
  data.set(kTimestamp, timestamp);
  data.set(kSpeed, speed);
  return data;
}

void expose_statistics_records(const py::Scope& statistics) {
  const py::Scope type = py::make_namespace(
      statistics, "Type", "The records: `key` is the category in which one is kept, `data` what is kept of it.");

  py::Class<UseRecord>(type, "_Record", "Something that happened; a category of its own has each kind below.")
      .copies()
      .attribute("key", py::text(""))
      .accessor<&UseRecord::data>("data",
                                  "dict[str, Any]: A new dict of \"timestamp\": the time of reading it, in seconds.")
      .done();

  py::Class<ValidationRecord, UseRecord>(type, "Validate",
                                         "A validation.\n\n"
                                         "Args:\n"
                                         "    timestamp: When it began, in seconds.\n"
                                         "    speed: How many seconds it took.\n"
                                         "    project: Name of the project, or None.\n\n"
                                         "The values are kept as they come.")
      .copies()
      .init<&ValidationRecord::init>({"timestamp", "speed", {"project", nullptr}})
      .attribute("key", py::text(ValidationRecord::kKey))
      .accessor<&ValidationRecord::data>("data",
                                         "dict[str, Any]: A new dict of \"project\", \"timestamp\" and \"speed\".")
      .done();

  py::Class<CheckRecord, UseRecord>(type, "Checks",
                                    "A run of a check on an object.\n\n"
                                    "Args:\n"
                                    "    timestamp: When it began, in seconds.\n"
                                    "    speed: How many seconds it took.\n"
                                    "    name: The check.\n"
                                    "    result: One of `Constants.Check.Result`.\n\n"
                                    "The values are kept as they come.")
      .copies()
      .init<&CheckRecord::init>({"timestamp", "speed", "name", "result"})
      .attribute("key", py::text(CheckRecord::kKey))
      .accessor<&CheckRecord::data>("data",
                                    "dict[str, Any]: A new dict of \"name\", \"result\", \"timestamp\" and \"speed\".")
      .readonly<&CheckRecord::name>("_name", "str: The check.")
      .readonly<&CheckRecord::result>("_result", "str: The outcome.")
      .done();

  py::Class<ExportRecord, UseRecord>(type, "Exported", "An export.")
      .copies()
      .attribute("key", py::text(ExportRecord::kKey))
      .done();
  py::Class<FeedbackRecord, UseRecord>(type, "FeedbackSent", "A feedback message that was sent.")
      .copies()
      .attribute("key", py::text(FeedbackRecord::kKey))
      .done();
}

}  // namespace heron
