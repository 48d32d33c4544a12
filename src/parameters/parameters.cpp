#include "parameters/parameters.h"

#include "parameters/block.h"
#include "parameters/input.h"
#include "parameters/int_slices.h"
#include "parameters/options.h"
#include "parameters/scalar_inputs.h"
#include "parameters/text_lists.h"

namespace heron {

void expose_parameters(const py::Scope& module) {
  const py::Scope parameters =
      py::make_namespace(module, "Parameters", "Inputs of checks and exporters, from which front-ends build forms.");
  expose_input(parameters);
  expose_scalar_inputs(parameters);
  expose_text_lists(parameters);
  expose_int_slices(parameters);
  expose_block(parameters);
  expose_group(parameters);
  expose_options(parameters);
}

}  // namespace heron
