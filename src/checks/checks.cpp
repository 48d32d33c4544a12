#include "checks/checks.h"

#include "checks/check_base.h"
#include "checks/check_classes.h"
#include "checks/check_contract.h"
#include "checks/check_queue.h"
#include "checks/checklist.h"
#include "checks/named_buffer.h"

namespace heron {

void expose_checks(const py::Scope& module, const py::Scope& assertions) {
  const py::Scope structure =
      py::make_namespace(module, "Structure", "Containers that the engine shares with plug-ins.");
  expose_named_buffer(structure);

  const py::Scope check = py::make_namespace(module, "Check", "Checks: what plug-ins derive from, and their runs.");
  expose_check_base(check);
  expose_check_contract(assertions);
  expose_check_classes(check);
  expose_checklist(check);
  expose_check_queue(check);
}

}  // namespace heron
