#pragma once

#include <cstdint>

#include "runtime/class.h"

namespace heron {

/// The one door to the log, for the engine's own use; `Logger` is the same for Python.
namespace logger {
enum class Level : std::uint8_t { kDebug = 10, kInfo = 20 };
bool shows(Level level);  ///< Whether a record of this level would be looked at: some take long to make.
void debug(const py::Object& message);
void info(const py::Object& message);
void warning(const py::Object& message);
void error(const py::Object& message);
void exception(const py::Object& message);
void caught(const py::Error& error);  ///< As an exception, with its class: "ValueError: what was wrong".
}  // namespace logger

void expose_logger(const py::Scope& module);

}  // namespace heron
