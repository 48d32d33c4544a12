#pragma once

#include "scene/buffer.h"

namespace heron {

/// Finds the hierarchies below the host's selection that match the pattern, and fills the buffer with them.
class Scanner {
 public:
  void init(const py::Object& api, const Host& host, const py::RefOrNone<SceneSnapshot>& snapshot,
            const py::Ref<Hierarchy>& hierarchy, const py::RefOrNone<Buffer>& buffer, const py::Object& callbacks);

  bool upload_buffer(bool append) const;
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

  template <class V>
  void members(V& visit) {
    visit(api);
    visit(callbacks);
    visit(host);
    visit(snapshot);
    visit(hierarchy);
    visit(buffer);
  }

 private:
  py::List search(bool append) const;
  void fire(const py::Name& event) const { callbacks.attr(event)(); }
};

void expose_scanner(const py::Scope& scene);

}  // namespace heron
