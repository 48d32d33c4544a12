#include "foundation/failure.h"

#include <optional>

#include "foundation/logger.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

const py::Name kFile("__file__"), kFilename("filename"), kLine("lineno"), kModule("__module__"), kNotes("__notes__");

constexpr Py_ssize_t kShown = 80;  // characters of a value

struct Line {
  py::Object file, number;
};

/// The lines that an error has passed, from the call on; those of the import system are none of the plug-in's.
std::vector<Line> lines_of(const py::Object& error) {
  static const py::Name kFrame("tb_frame"), kNumber("tb_lineno"), kNext("tb_next");
  static const py::Name kCode("f_code"), kCodeFile("co_filename");
  std::vector<Line> lines;
  PyObject* first = PyException_GetTraceback(error.get());
  for (py::Object trace = first != nullptr ? py::Object::steal(first) : py::Object(); !trace.is_none();
       trace = trace.attr(kNext)) {
    const py::Object file = trace.attr(kFrame).attr(kCode).attr(kCodeFile);
    if (!py::Utf8(file).view().starts_with("<frozen ")) lines.push_back({file, trace.attr(kNumber)});
  }
  return lines;
}

/// Where the source itself is wrong, which nothing of it has passed yet.
std::optional<Line> faulty_source(const py::Object& error) {
  if (PyErr_GivenExceptionMatches(error.get(), PyExc_SyntaxError) == 0) return std::nullopt;
  Line line{error.attr(kFilename), error.attr(kLine)};
  if (line.file.is_none() || line.number.is_none()) return std::nullopt;
  return line;
}

std::optional<Line> line_of(const py::Object& error, const py::Object& file) {
  const std::vector<Line> lines = lines_of(error);
  const auto deepest = [&](const py::Object& wanted) -> std::optional<Line> {
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
      if (line->file.equals(wanted)) return *line;
    }
    return std::nullopt;
  };
  if (const auto own = file.is_none() ? std::nullopt : deepest(file)) return own;
  if (const auto faulty = faulty_source(error)) return faulty;
  if (lines.empty()) return std::nullopt;
  return file.is_none() ? deepest(lines.front().file) : lines.back();
}

/// What `ask` gives; none where an exception of a plug-in's own class fails to tell it.
template <class F>
py::Object if_told(F&& ask) {
  try {
    return ask();
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    return {};
  }
}

std::vector<py::Object> words_of(const py::Object& error) {
  std::vector<py::Object> words;
  if (const py::Object own = printable(error); own.length() != 0) words.push_back(own);
  const py::Object notes = if_told([&] { return error.attr(kNotes, py::Object::none()); });
  if (PyList_Check(notes.or_none()) != 0) {
    for (const py::Object& note : py::collect(notes)) words.push_back(printable(note));
  }
  return words;
}

py::Object whole_trace(const py::Object& error) {
  static const py::Name kFormat("format_exception"), kTrace("__traceback__"), kJoin("join");
  const py::Object type = py::Object::borrow(reinterpret_cast<PyObject*>(Py_TYPE(error.get())));
  return py::text("").call(kJoin, py::modules::traceback.call(kFormat, type, error, error.attr(kTrace)));
}

}  // namespace

py::Object failure::place(const py::Object& error, const py::Object& file) {
  return if_told([&] {
    const auto line = line_of(error, file);
    return line ? format("{}, line {}", {line->file, line->number}) : py::Object();
  });
}

py::Object failure::told(const py::Object& error, const py::Object& file) {
  static const py::Name kJoin("join");
  const py::List parts;
  const py::Object type = py::text(error.type_name()), where = place(error, file);
  const py::Object what = where ? format("{} in {}", {type, where}) : type;
  for (const py::Object& words : words_of(error)) parts.append(words);
  return parts.empty() ? what : format("{}: {}", {what, py::text("; ").call(kJoin, parts)});
}

py::Object failure::name_of(const py::Object& type) {
  static const py::Name kQualname("__qualname__");
  const py::Object name = if_told([&] { return type.attr(kQualname); });
  return name.is_text() ? name : py::text(type.type_name());
}

py::Object failure::file_of(const py::Object& type) {
  const py::Object name = if_told([&] { return type.attr(kModule); });
  PyObject* modules = PySys_GetObject("modules");  // none when the runtime is about to end
  if (!name.is_text() || modules == nullptr || PyDict_Check(modules) == 0) return {};
  const auto module = py::Dict(py::Object::borrow(modules)).find(name);
  if (!module) return {};
  return if_told([&] { return module->attr(kFile, py::Object()); });
}

void failure::note(const py::Object& error, const py::Object& words) {
  if_told([&] {
    const py::Object noted = error.attr(kNotes, py::Object::none());
    const py::List notes = PyList_Check(noted.or_none()) != 0 ? py::List(noted) : py::List();
    if (py::holds(notes, words)) return py::Object();  // an error that is kept is raised again and again
    notes.append(words);
    error.set_attr(kNotes, notes);
    return py::Object();
  });
}

void failure::raise_type(const py::Object& words) {
  const py::Object error = py::Object::borrow(PyExc_TypeError)();
  note(error, words);
  py::raise_object(error);
}

py::Object failure::shown(const py::Object& value) {
  py::Object whole = if_told([&] { return py::Object::steal(PyObject_Repr(value.or_none())); });
  if (!whole) return format("an object of type {}", {py::text(value.type_name())});
  if (whole.length() <= kShown) return whole;
  return format("{}...", {py::Object::steal(PyUnicode_Substring(whole.get(), 0, kShown))});
}

void failure::log(const py::Object& who, const py::Error& error, const py::Object& file) {
  if (logger::shows(logger::Level::kInfo)) logger::info(format("{}: {}", {who, told(error.value(), file)}));
  if (logger::shows(logger::Level::kDebug)) logger::debug(whole_trace(error.value()));
}

}  // namespace heron
