#include "export/export_path.h"

#include "files/paths.h"
#include "foundation/text.h"
#include "runtime/modules.h"

namespace heron {
namespace {

namespace modules = py::modules;

const py::Name kLower("lower");

/// The number above the highest one in which a name of these files ends; 1 if none does.
py::Object next_version(const py::Object& directory, const py::Object& name, const py::Object& type) {
  static const py::Name kListdir("listdir"), kMatch("match"), kSub("sub"), kSearch("search"), kGroup("group");
  static const py::Name kUpper("upper");
  const py::Object cases = format("({}|{})", {type.call(kLower), type.call(kUpper)});
  const py::Object wanted = format("^{}.*\\.{}$", {name, cases}), extension = format("\\.{}$", {cases});
  const py::Object trailing_digits = py::text("\\d+$"), one = py::to_python(1);
  py::Object version = one;
  for (const py::Object& file : py::collect(modules::os.call(kListdir, directory))) {
    if (modules::re.call(kMatch, wanted, file).is_none()) continue;
    const py::Object stem = modules::re.call(kSub, extension, py::text(""), file);
    const py::Object found = modules::re.call(kSearch, trailing_digits, stem);
    if (found.is_none()) continue;
    const py::Object number = py::Object::steal(PyNumber_Long(found.call(kGroup).get()));
    py::Object next = py::Object::steal(PyNumber_Add(number.get(), one.get()));
    if (version.is_less(next)) version = std::move(next);
  }
  return version;
}

}  // namespace

py::Object export_path(const py::Object& directory, const py::Text& name, const py::Text& type, bool versioned) {
  py::Object stem = name;
  if (versioned) {
    const py::Object version = next_version(directory, name, type);
    const py::Object number = py::Object::steal(PyUnicode_Format(py::text("%02d").get(), version.get()));
    stem = format("{}.v{}", {name, number});
  }
  return paths::normalised(paths::join(directory, format("{}.{}", {stem, type.call(kLower)})));
}

}  // namespace heron
