#include "runtime/modules.h"

namespace heron::py {

const Object& Module::get() const {
  // Kept for the life of the process, on purpose: releasing it after the runtime has ended would abort.
  if (module_ == nullptr) module_ = new Object(Object::steal(PyImport_ImportModule(name_)));
  return *module_;
}

}  // namespace heron::py
