#pragma once

#include <string_view>

#include "runtime/finally.h"
#include "runtime/object.h"

namespace heron {

/// A file of the system's own, opened as text in the one encoding of all data files; line ends stay as they are.
py::Object open_data(const py::Object& path, const char* mode);

py::Object open_bytes(const py::Object& path);  ///< A file to be written as bytes, empty at first.
void write_bytes(const py::Object& stream, std::string_view bytes);

/// What a `with` statement over a stream is for Python: `use(stream)`, and the stream is closed in every case.
template <class F>
void with_stream(const py::Object& stream, F&& use) {
  static const py::Name kClose("close");
  py::finally([&] { use(stream); }, [&] { stream.call(kClose); });
}

}  // namespace heron
