#pragma once

#include "export/export_queue.h"

namespace heron {

/// Writes hierarchies out of the scene through the host, each into a file of its own.
class ExportDriver {
 public:
  void init(const py::Object& api_, const py::Object& host_, const py::Object& buffer_, const py::Object& offered);

  void start();
  void project(const py::Object& directory);
  void selected(const py::Object& directory);

  py::Object get_directory() const;
  void perform(const py::Object& planner, const py::Object& directory);
  void plan_project_queue() const;
  void plan_selection_queue() const;
  void resolve_queue(const py::Object& directory);

  py::Object api, host, buffer, options, flags;
  py::Ref<ExportQueue> queue = py::Ref<ExportQueue>::make();

  template <class V>
  void members(V& visit) {
    for (py::Object* field : {&api, &host, &buffer, &options, &flags}) visit(*field);
    visit(queue);
  }

 private:
  bool exist(const std::vector<py::Object>& paths) const;
  void write(const py::Object& task, const py::Object& exporter, const py::Object& directory) const;
  void fire(const py::Name& event, const std::vector<py::Object>& arguments = {}) const;

  bool writing_ = false;
};

/// Puts `_Export` into `Api`.
void expose_export_driver(const py::Scope& api);

}  // namespace heron
