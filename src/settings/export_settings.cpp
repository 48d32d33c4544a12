#include "settings/export_settings.h"

#include "files/paths.h"

namespace heron {
namespace {

const py::Name kMode("mode"), kDirectory("directory");

}  // namespace

void ExportSettings::init(const py::Object& data) {
  *this = ExportSettings();  // a second construction starts from the defaults again
  mode = py::get(data, kMode, mode);
  directory = py::get(data, kDirectory, directory);
}

py::Dict ExportSettings::data() const {
  py::Dict data;
  data.set(kMode, mode);
  data.set(kDirectory, paths::plain(directory));
  return data;
}

void expose_export_settings(const py::Scope& settings) {
  py::Class<ExportSettings>(settings, "Export",
                            "Where exported files went last. Built from the JSON form, whose keys may be missing.")
      .copies()
      .init<&ExportSettings::init>({"data"})
      .accessor<&ExportSettings::data>("data", "dict[str, Any]: The JSON form, a new dict.")
      .field<&ExportSettings::mode>("mode", "int: How the directory is found, one of `Constants.Export.Mode`.")
      .field<&ExportSettings::directory>("directory", "str: The last directory, with \"~\" for the user's home.")
      .done();
}

}  // namespace heron
