#include "host/type_mapping.h"

#include "foundation/text.h"

namespace heron {

void TypeMapping::init(const py::Object& mapping) {
  static const py::Name kItems("items");
  const py::Dict fresh;
  const py::Object values = py::Object::steal(PySet_New(nullptr));
  for (const py::Object& item : py::collect(mapping.call(kItems))) {
    const std::vector<py::Object> pair = py::collect(item);
    if (pair.size() != 2)
      py::raise_value("TypeMapping() expected pairs of a host type and a system type, not of length " +
                      std::to_string(pair.size()));
    const py::Object type = to_str(pair[1]);
    fresh.set(to_str(pair[0]), type);
  }
  for (const py::Object& type : fresh.values()) py::checked(PySet_Add(values.get(), type.get()));
  table = fresh;
  types = values;
}

py::Object TypeMapping::get(const py::Object& name) const { return table.find(name).value_or(py::Object::none()); }

bool TypeMapping::exist(const py::Object& name) const { return py::holds(types, name); }

void expose_type_mapping(const py::Scope& module) {
  py::Class<TypeMapping>(module, "TypeMapping",
                         "Translates the object types of one host into those of `Constants.Scene.Type`.\n\n"
                         "Args:\n"
                         "    table: A map of the host's type names to the system's.")
      .copies()
      .init<&TypeMapping::init>({"table"})
      .operation<&TypeMapping::get>("get", {"name"}, "The system type of a host type, or None if it has none.")
      .operation<&TypeMapping::exist>("exist", {"name"}, "Whether the host can produce this system type.")
      .readonly<&TypeMapping::table>("_table", "dict[str, _Str]: Host type to system type.")
      .readonly<&TypeMapping::types>("_types", "set[_Str]: The system types that the host can produce.")
      .done();
}

}  // namespace heron
