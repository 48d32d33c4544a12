#pragma once

#include "runtime/class.h"
#include "runtime/finally.h"

namespace heron {

/// The guard of one JSON document among all threads and processes that use it, by marker files beside it.
///
/// Entering waits until no one else is inside and reads the document; leaving writes it back, if that was asked for.
/// It is a lease: who stays for longer than the threshold loses it.
class AccessQueue {
 public:
  static constexpr double kAccessTimeout = 30.0, kLifeDurationThreshold = 35.0;  // seconds

  void init(const py::Object& json_path, bool write = false, double access_timeout = kAccessTimeout,
            double life_duration_threshold = kLifeDurationThreshold);

  const py::Object& enter();  ///< The document, to be changed in place; an empty map where there is no file.
  void exit() const;          ///< Writes if that was asked for, and releases in every case.
  /// The same as the runtime calls it; how the guarded block ended makes no difference.
  void leave(const py::Object&, const py::Object&, const py::Object&) const { exit(); }

  // The steps of both.
  void assert_access() const;
  bool is_free() const;  ///< Waits at the gate; false if time runs out.
  bool is_next() const;  ///< Waits in the queue; false if time runs out.
  void release_access() const;
  py::List editors_sequence() const;
  void delete_outdated(const py::Object& path) const;

  py::Object path, directory, filename, path_lock, path_id;
  bool write = false;
  double access_timeout = kAccessTimeout, life_duration_threshold = kLifeDurationThreshold;
  py::Object data;

  template <class V>
  void members(V& visit) {
    visit(path);
    visit(directory);
    visit(filename);
    visit(path_lock);
    visit(path_id);
    visit(data);
  }

 private:
  void assert_built() const;  ///< RuntimeError for an instance whose constructor never ran.
};

/// What a `with` statement over a queue is for Python: enters, calls `use(document)`, and leaves in every case.
template <class F>
void with_document(const py::Object& path, bool write, F&& use) {
  AccessQueue queue;
  queue.init(path, write);
  const py::Object document = queue.enter();
  py::finally([&] { use(document); }, [&] { queue.exit(); });
}

/// Puts `AccessQueue` into `_File.Json`.
void expose_access_queue(const py::Scope& json);

}  // namespace heron
