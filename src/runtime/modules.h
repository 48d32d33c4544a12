#pragma once

#include "runtime/object.h"

namespace heron::py {

/// A module, mostly of the runtime's own library, imported at first use and kept.
class Module {
 public:
  constexpr explicit Module(const char* name) : name_(name) {}
  const Object& get() const;
  Object attr(const Name& name) const { return get().attr(name); }
  template <class... A>
  Object call(const Name& name, const A&... arguments) const {
    return get().call(name, arguments...);
  }

 private:
  const char* name_;
  mutable const Object* module_ = nullptr;
};

namespace modules {
inline const Module atexit{"atexit"};
inline const Module collections_abc{"collections.abc"};
inline const Module copy{"copy"};
inline const Module copyreg{"copyreg"};
inline const Module core{"core"};  // this one
inline const Module decimal{"decimal"};
inline const Module filecmp{"filecmp"};
inline const Module functools{"functools"};
inline const Module gc{"gc"};
inline const Module http_client{"http.client"};
inline const Module importlib{"importlib"};
inline const Module importlib_util{"importlib.util"};
inline const Module inspect{"inspect"};
inline const Module io{"io"};
inline const Module json{"json"};
inline const Module logging{"logging"};
inline const Module operators{"operator"};  // a name that C++ keeps for itself
inline const Module os{"os"};
inline const Module path{"os.path"};
inline const Module pkgutil{"pkgutil"};
inline const Module platform{"platform"};
inline const Module random{"random"};
inline const Module re{"re"};
inline const Module shutil{"shutil"};
inline const Module ssl{"ssl"};
inline const Module threading{"threading"};
inline const Module time{"time"};
inline const Module traceback{"traceback"};
inline const Module uuid{"uuid"};
}  // namespace modules

}  // namespace heron::py
