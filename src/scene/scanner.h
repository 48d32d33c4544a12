#pragma once

#include "host/ways.h"
#include "scene/buffer.h"
#include "scene/scan_run.h"

namespace heron {

/// Finds the hierarchies below the host's selection that match the pattern, and fills the buffer with them.
class Scanner {
 public:
  void init(const py::Object& api, const Host& host, const py::RefOrNone<SceneSnapshot>& snapshot,
            const py::Ref<Hierarchy>& hierarchy, const py::RefOrNone<Buffer>& buffer, const py::Object& callbacks);

  bool upload_buffer(bool append);  ///< A scan; how it ended stands in `last_run`.
  void reload_buffer() const;

  void reload_bucket(const py::Object& bucket) const;
  py::Object find_scope_roots(const py::Object& scene_roots) const;
  py::Object find_scope_root(const py::Object& path, const py::Object& ghost, const py::Object& scene_roots) const;
  py::List scan(const py::Iterable& roots) const;
  py::List filter(const py::Iterable& buckets) const;
  py::List load(const py::Iterable& roots, const py::Object& pattern) const;
  static py::Object choose_name(const py::Iterable& data);

  py::Object api, callbacks;
  Host host;
  py::Ref<SceneSnapshot> snapshot;
  py::Ref<Hierarchy> hierarchy;
  py::Ref<Buffer> buffer;
  py::Object last_run;  ///< None before the first scan, and while one runs.

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(callbacks);
    visit(last_run);
    visit(host);
    visit(snapshot);
    visit(hierarchy);
    visit(buffer);
  }

 private:
  Ways ways_to_scope_roots(const py::Object& ghost, const py::Object& scene_roots) const;
  bool look(bool append);
  py::List search(bool append) const;
  void end(std::string_view outcome, const py::Object& error = {});
  bool end_with(std::string_view outcome, const py::Name& event);
};

void expose_scanner(const py::Scope& scene);

}  // namespace heron
