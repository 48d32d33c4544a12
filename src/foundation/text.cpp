#include "foundation/text.h"

namespace heron {
namespace {

// `_Str` adds no state to the runtime's text: that is Unicode already, hashes and compares as such. The class
// exists so that a text of the system can be told from any other, and derived from.
PyTypeObject* str_type = nullptr;

const py::Name kFormat("format");

PyObject* new_str(PyTypeObject* type, PyObject* arguments, PyObject* named) {
  if (PyTuple_Size(arguments) != 1 || (named != nullptr && PyDict_Size(named) != 0)) {
    PyErr_SetString(PyExc_TypeError, "_Str() takes exactly one positional argument");
    return nullptr;
  }
  const auto make = reinterpret_cast<newfunc>(PyType_GetSlot(&PyUnicode_Type, Py_tp_new));
  return make(type, arguments, nullptr);
}

PyObject* same(PyObject*, PyObject* value) {
  Py_IncRef(value);
  return value;
}

py::Object format_values(const py::Text& pattern, const py::Object& arguments) {
  std::vector<py::Object> values;
  for (const py::Object& value : py::collect(arguments)) values.push_back(to_str(value));
  return to_str(pattern).attr(kFormat).apply(py::tuple(values));
}

void expose_str_class(const py::Scope& module) {
  static PyMethodDef methods[] = {
      {"encoded", same, METH_O | METH_STATIC,
       "encoded(value)\n--\n\nThe value in the form in which texts are compared: itself, as texts are Unicode."},
      {"decoded", same, METH_O | METH_STATIC,
       "decoded(value)\n--\n\nThe value in the form in which texts are handed to the runtime: itself."},
      {nullptr, nullptr, 0, nullptr}};
  PyType_Slot slots[] = {
      {Py_tp_doc, const_cast<char*>("_Str(value)\n--\n\nText of the system: a str that can be told from others.")},
      {Py_tp_new, reinterpret_cast<void*>(&new_str)},
      {Py_tp_methods, methods},
      {0, nullptr}};
  PyType_Spec spec{"core._Str", 0, 0, Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots};
  const py::Object bases = py::tuple({py::Object::borrow(reinterpret_cast<PyObject*>(&PyUnicode_Type))});
  py::Object type = py::Object::steal(PyType_FromSpecWithBases(&spec, bases.get()));
  module.set("_Str", type);
  str_type = reinterpret_cast<PyTypeObject*>(type.release());
}

}  // namespace

PyObject* str_class() { return reinterpret_cast<PyObject*>(str_type); }

py::Object to_str(const py::Object& value) {
  if (!value.is_text() || Py_TYPE(value.get()) == str_type) return value;
  // The characters themselves, whatever a subclass's `__str__` makes of them.
  const py::Object plain = py::Object::steal(PyUnicode_FromObject(value.get()));
  return py::Object::borrow(str_class())(plain);
}

py::Object format(std::string_view pattern, const std::vector<py::Object>& values) {
  return format_values(py::Text(py::text(pattern)), py::tuple(values));
}

py::Object printable(const py::Object& value) {
  try {
    return format("{}", {value});
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    return py::text("<exception str() failed>");
  }
}

void expose_text(const py::Scope& module) {
  expose_str_class(module);
  module.set("_TYPE_STRING", py::Object::borrow(reinterpret_cast<PyObject*>(&PyUnicode_Type)));
  module.set("_ENCODING", py::text(kEncoding));
  py::function<&to_str>(module, "_str", {"value"},
                        "Text as `_Str`, so that it compares alike whatever form it arrived in.\n\n"
                        "A value that is not text comes back unchanged.");
  py::function<&format_values>(module, "_format", {"template", py::Parameter::rest("args")},
                               "The template with each `{}` filled by the next of `args`, texts as `_Str`.\n\n"
                               "Surplus arguments are ignored; IndexError for too few.");
}

}  // namespace heron
