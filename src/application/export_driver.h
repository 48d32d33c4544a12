#pragma once

#include "export/export_queue.h"
#include "scene/buffer.h"

namespace heron {

/// Writes hierarchies out of the scene through the host, each into a file of its own.
class ExportDriver {
 public:
  void init(const py::Object& api_, const Host& host_, const py::RefOrNone<Buffer>& buffer_, const py::Object& offered);

  void start();
  void project(const py::Object& directory);
  void selected(const py::Object& directory);

  py::Object get_queue() const { return queue; }
  py::Object get_directory() const;
  void perform(const py::Object& planner, const py::Object& directory);
  void plan_project_queue() const;
  void plan_selection_queue() const;
  void resolve_queue(const py::Object& directory);

  py::Object api;
  Host host;
  py::Ref<Buffer> buffer;
  py::Object options, flags;
  py::Ref<ExportQueue> queue = py::Ref<ExportQueue>::make();

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(host);
    visit(buffer);
    visit(options);
    visit(flags);
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
