#include "server/statistics.h"

#include "server/statistics_exchange.h"
#include "server/statistics_records.h"

namespace heron {

void expose_statistics(const py::Scope& module) {
  const py::Scope statistics = py::Class<Statistics>(module, "_Statistics", "The local store of the records of use.")
                                   .attribute("version", py::to_python(1))
                                   .done();
  expose_statistics_records(statistics);
  expose_statistics_exchange(statistics);
}

}  // namespace heron
