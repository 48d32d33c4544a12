#include "export/export_flags.h"

namespace heron {
namespace {
const py::Name kAutomaticUv("automatic_uv"), kTriangulate("triangulate"), kResetXforms("reset_xforms");
const py::Name kVersionControl("version_control");
}  // namespace

void ExportFlags::load(const py::Object& stored) {
  const py::Object no = py::to_python(false);
  automatic_uv = py::get(stored, kAutomaticUv, no);
  triangulate = py::get(stored, kTriangulate, no);
  version_control = py::get(stored, kVersionControl, no);
  reset_xforms = py::get(stored, kResetXforms, no);
}

py::Dict ExportFlags::data() const {
  py::Dict data;
  data.set(kAutomaticUv, automatic_uv);
  data.set(kTriangulate, triangulate);
  data.set(kResetXforms, reset_xforms);
  data.set(kVersionControl, version_control);
  return data;
}

void expose_export_flags(const py::Scope& exporting) {
  py::Class<ExportFlags>(exporting, "Flags",
                         "The switches of an export, all off at first; values are kept as they come.")
      .copies()
      .init<&ExportFlags::init>({})
      .accessor<&ExportFlags::data>("data", "dict[str, bool]: The JSON form, a new dict of the four switches.")
      .operation<&ExportFlags::load>("load", {"data"}, "Takes the switches from a JSON form; off where it lacks one.")
      .field<&ExportFlags::automatic_uv>("automatic_uv", "bool: Make texture coordinates where there are none.")
      .field<&ExportFlags::triangulate>("triangulate", "bool: Make triangles of all faces.")
      .field<&ExportFlags::reset_xforms>("reset_xforms", "bool: Apply the transforms of the objects to their geometry.")
      .field<&ExportFlags::version_control>("version_control", "bool: Number the files instead of replacing them.")
      .done();
}

}  // namespace heron
