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
  static constexpr double kStep = 0.1;  ///< Seconds between two looks at the queue, and before the first.

  /// What stood in a directory at one time.
  struct Listing {
    explicit Listing(const py::Object& directory);
    std::vector<py::Object> names, ids;  ///< All of them, and those that may be id files of documents.
  };

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

  // The steps of these, for who enters the queues of many documents at once.
  void assert_directory() const;  ///< FileNotFoundError if it is missing.
  bool is_open() const;           ///< Does the gate stand open now?
  void join() const;              ///< Puts down both markers.
  bool is_head(const Listing& listing) const;
  const py::Object& read();                      ///< The document, for who has access.
  void leave_queue() const;                      ///< Takes the own marker away.
  void open_gate(const Listing& listing) const;  ///< After that, unless others are in the queue.
  py::List editors_among(const Listing& listing) const;
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
