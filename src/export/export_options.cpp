#include "export/export_options.h"

#include "parameters/input.h"
#include "parameters/options.h"
#include "settings/document_values.h"

namespace heron {
namespace {
const py::Name kAttr("attr"), kLabel("label"), kData("data"), kSelected("selected"), kFormats("formats");
const py::Name kLoad("load"), kClone("clone");
}  // namespace

void ExportOptions::init(const py::Object& offered) {
  const py::List taken;
  for (const py::Object& option : py::collect(offered)) {
    if (!py::Ref<ParameterOptions>::holds(option)) continue;
    taken.append(option);
    add_member(py::object_of(*this), py::TypeOf<ExportOptions>::type, option.attr(kAttr), option);
  }
  options = taken;
  selected = py::Object::none();
  select_any();
}

py::Dict ExportOptions::data() const {
  const py::Dict formats;
  for (const py::Object& option : options.items()) formats.set(option.attr(kAttr), option.attr(kData));
  py::Dict data;
  data.set(kSelected, selected.is_none() ? py::Object::none() : selected.attr(kAttr));
  data.set(kFormats, formats);
  return data;
}

void ExportOptions::select(const py::Object& option) {
  for (const py::Object& offered : options.items()) {
    if (option.equals(offered) || option.equals(offered.attr(kAttr)) || option.equals(offered.attr(kLabel))) {
      selected = offered;
      return;
    }
  }
  if (selected.is_none()) select_any();
}

void ExportOptions::select_any() {
  if (!options.empty()) selected = options.at(0);
}

void ExportOptions::load(const py::Object& stored) {
  const document::Ignored loading;
  const py::Object formats = document::map_at(stored, kFormats);
  for (const py::Object& option : options.items()) option.call(kLoad, document::map_at(formats, option.attr(kAttr)));
  select(py::get(stored, kSelected));
  ignored = loading.keys();
}

py::Ref<ExportOptions> ExportOptions::clone() const {
  std::vector<py::Object> clones;
  for (const py::Object& option : options.items()) clones.push_back(option.call(kClone));
  auto clone = py::Ref<ExportOptions>::make();
  clone->init(py::tuple(clones));
  clone->load(data());
  if (!selected.is_none()) clone->select(selected.attr(kAttr));
  return clone;
}

void expose_export_options(const py::Scope& exporting) {
  py::Class<ExportOptions>(
      exporting, "Options",
      "The exporters on offer, each a `Parameters.Options`, one of them selected: the first one at first.\n\n"
      "Each exporter is a member under its attribute name, too; AttributeError for one named like a member of the "
      "class. Arguments of other classes are ignored. A loop gives the exporters in order.")
      .copies()
      .init<&ExportOptions::init>({py::Parameter::rest("options")})
      .accessor<&ExportOptions::get_selected>("selected",
                                              "Parameters.Options | None: The selected exporter's options, or None.")
      .iterate<&ExportOptions::iterate>()
      .accessor<&ExportOptions::data>("data",
                                      "dict[str, Any]: The JSON form, a new dict of \"selected\" and \"formats\".")
      .operation<&ExportOptions::select>("select", {"option"},
                                         "Selects an exporter by its options, their attribute name or their label.\n\n"
                                         "An unknown one changes nothing if there is a selected one.")
      .operation<&ExportOptions::select_any>("_select_any", "Selects the first exporter, if there is one.")
      .operation<&ExportOptions::load>("load", {"data"},
                                       "Takes the options and the selection of a JSON form.\n\n"
                                       "What is no mapping in it counts as absent, with a warning, and `ignored` "
                                       "names it.")
      .readonly<&ExportOptions::ignored>("ignored",
                                         "tuple[str, ...]: The keys of the values that the last `load` could not use.")
      .operation<&ExportOptions::clone>("clone", "New options of the same exporters, values and selection.")
      .readonly<&ExportOptions::options>("_options", "list[Parameters.Options]: The exporters in order.")
      .readonly<&ExportOptions::selected>("_selected",
                                          "Parameters.Options | None: The selected exporter's options, or None.")
      .done();
}

}  // namespace heron
