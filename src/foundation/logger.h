#pragma once

#include "runtime/class.h"

namespace heron {

/// The one door to the log, for the engine's own use; `Logger` is the same for Python.
namespace logger {
void debug(const py::Object& message);
void info(const py::Object& message);
void warning(const py::Object& message);
void error(const py::Object& message);
void exception(const py::Object& message);
void caught(const py::Error& error);  ///< As an exception, with its class: "ValueError: what was wrong".
}  // namespace logger

void expose_logger(const py::Scope& module);

}  // namespace heron
