#include "reference.h"

#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <cstdlib>

namespace heron::fuzz {
namespace {

// The clock stops expressions that the runtime would try for ages. It counts processor time, as the fuzzer has the
// other clock for itself.
constexpr const char* kSource = R"(
import re, signal, warnings
warnings.simplefilter("error")
class TooLong(Exception): pass
def stop(*_): raise TooLong
signal.signal(signal.SIGVTALRM, stop)
def ask(expression, name):
    expression, name = (text.decode("utf-8", "surrogatepass") for text in (expression, name))
    compiled = re.compile(expression)
    re.purge()
    try:
        signal.setitimer(signal.ITIMER_VIRTUAL, 0.1)
        try:
            matches, rest = compiled.match(name) is not None, compiled.sub("", name)
        finally:
            signal.setitimer(signal.ITIMER_VIRTUAL, 0)
    except TooLong:
        return None
    return matches, rest.encode("utf-8", "surrogatepass")
)";

PyObject* ask = nullptr;

PyObject* checked(PyObject* object) {
  if (object != nullptr) return object;
  PyErr_Print();
  std::abort();
}

}  // namespace

void start_runtime() {
  Py_Initialize();
  PyObject* const space = checked(PyDict_New());
  checked(PyRun_String(kSource, Py_file_input, space, space));
  ask = checked(PyDict_GetItemString(space, "ask"));
}

std::optional<Verdict> ask_runtime(std::string_view expression, std::string_view name) {
  PyObject* const answer = checked(PyObject_CallFunction(ask, "y#y#", expression.data(), Py_ssize_t(expression.size()),
                                                         name.data(), Py_ssize_t(name.size())));
  std::optional<Verdict> verdict;
  if (answer != Py_None) {
    PyObject* const rest = PyTuple_GetItem(answer, 1);
    verdict = {PyTuple_GetItem(answer, 0) == Py_True,
               std::string(PyBytes_AsString(rest), static_cast<std::size_t>(PyBytes_Size(rest)))};
  }
  Py_DecRef(answer);
  return verdict;
}

}  // namespace heron::fuzz
