#include "projects/project_header.h"

#include "foundation/text.h"

namespace heron {

void ProjectHeader::init(const py::Object& project) {
  static const py::Name kName("name"), kFilename("filename"), kEdited("edit_timestamp"), kCompatible("compatible");
  name = project.attr(kName);
  filename = project.attr(kFilename);
  edit_timestamp = project.attr(kEdited);
  compatible = project.attr(kCompatible);
}

py::Object ProjectHeader::text() const {
  constexpr std::string_view kPattern =
      R"(Project.Header(name="{}", filename="{}", edit_timestamp="{}", compatible={}))";
  return format(kPattern, {name, filename, edit_timestamp, compatible});
}

void expose_project_header(const py::Scope& project) {
  py::Class<ProjectHeader>(project, "Header", "What a list of projects shows of one, as it was when this was made.")
      .copies()
      .init<&ProjectHeader::init>({"settings"})
      .readonly<&ProjectHeader::name>("name", "str: The name of the project.")
      .readonly<&ProjectHeader::filename>("filename", "str: The name of its file, by which it is loaded.")
      .readonly<&ProjectHeader::edit_timestamp>("edit_timestamp",
                                                "float: When it was last edited, in seconds since the epoch.")
      .readonly<&ProjectHeader::compatible>("compatible", "bool: Whether it is of the format of this release.")
      .readonly<&ProjectHeader::name>("_name", "str: The stored `name`.")
      .readonly<&ProjectHeader::filename>("_filename", "str: The stored `filename`.")
      .text<&ProjectHeader::text>()
      .done();
}

}  // namespace heron
