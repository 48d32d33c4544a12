#include "parameters/parameters.h"

#include "parameters/block.h"
#include "parameters/input.h"
#include "parameters/scalar_inputs.h"

namespace heron {

void expose_parameters(const py::Scope& module) {
  const py::Scope parameters =
      py::make_namespace(module, "Parameters", "Inputs of checks and exporters, from which front-ends build forms.");
  expose_input(parameters);
  expose_scalar_inputs(parameters);
  expose_block(parameters);
}

}  // namespace heron
