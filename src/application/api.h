#pragma once

#include "foundation/callbacks.h"
#include "host/host.h"
#include "runtime/class.h"

namespace heron {

/// The one object through which a front-end reaches the engine.
class Api {
 public:
  void init(const Host& host, const py::Object& environment, const py::Object& export_options,
            const py::Object& checks);
  void shutdown() const;

  py::Object version() const;
  py::Object constants() const;
  py::Object masks() const;
  py::Object logger() const;

  Host host;
  py::Ref<CallBacks> callbacks = py::Ref<CallBacks>::make();
  py::Object env, settings, statistics, validator, exporting, project, scene, http;

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&env, &settings, &statistics, &validator, &exporting, &project, &scene, &http}) {
      visit(*field);
    }
    visit(host);
    visit(callbacks);
  }
};

void expose_api(const py::Scope& module);

}  // namespace heron
