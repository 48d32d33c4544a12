#include "files/document_reader.h"

#include <algorithm>
#include <deque>

#include "files/access_queue.h"
#include "files/waiting.h"
#include "foundation/clock.h"
#include "foundation/errors.h"
#include "runtime/finally.h"

namespace heron {
namespace {

constexpr std::size_t kMost = 128;  // documents that are kept from others at once
constexpr double kPatience = 5.0;   // seconds for which the last of these may be kept for nothing but the others

double now() { return py::From<double>::from(clock::now().get()); }

/// A document to be read, and where its outcome goes.
struct Turn {
  AccessQueue queue;
  ReadDocument* outcome = nullptr;
  enum { kUnread, kRead, kOver } state = kUnread;
};

class DocumentReader {
 public:
  void add(const py::Object& path, ReadDocument& outcome);
  void run();

 private:
  template <class F>
  bool attempt(Turn& turn, F&& body);
  void join_open();
  void join();
  bool look();
  void look_at(Turn& turn, const AccessQueue::Listing& listing);
  void open_gates();
  void put_back(Turn& turn);
  void release();

  std::deque<Turn> waiting_;  // before their gates
  std::deque<Turn> joined_;   // their markers are down
};

/// Does a step of a turn. After a failure, of which the outcome tells, the turn is over.
template <class F>
bool DocumentReader::attempt(Turn& turn, F&& body) {
  try {
    py::undo_on_failure(body, [&] { turn.queue.release_access(); });
    return true;
  } catch (const py::Error& error) {
    if (!error.is_failure()) throw;
    *turn.outcome = {{}, error};
    turn.state = Turn::kOver;
    return false;
  }
}

void DocumentReader::add(const py::Object& path, ReadDocument& outcome) {
  Turn turn{{}, &outcome, Turn::kUnread};
  turn.queue.init(path);
  if (attempt(turn, [&] { turn.queue.assert_directory(); })) waiting_.push_back(std::move(turn));
}

void DocumentReader::run() {
  const auto read_all = [&] {
    while (!waiting_.empty()) {
      join();
      if (joined_.empty()) continue;
      sleep(AccessQueue::kStep);  // whoever passed a gate at the same time is in its queue by now
      wait(AccessQueue::kAccessTimeout, AccessQueue::kStep, [&] { return look(); });
      for (Turn& turn : joined_) attempt(turn, [] { errors::raise<errors::AccessQueueTimeout>(); });
      joined_.clear();
    }
  };
  py::undo_on_failure(read_all, [&] { release(); });
}

/// Joins the queues whose gates are open; where none is, waits at the first.
void DocumentReader::join() {
  join_open();
  if (!joined_.empty() || waiting_.empty()) return;
  Turn first = std::move(waiting_.front());
  waiting_.pop_front();
  const auto enter = [&] {
    if (!first.queue.is_free()) errors::raise<errors::AccessQueueTimeout>();
    first.queue.join();
  };
  if (attempt(first, enter)) joined_.push_back(std::move(first));
  join_open();
}

void DocumentReader::join_open() {
  std::deque<Turn> closed;
  for (; !waiting_.empty() && joined_.size() < kMost; waiting_.pop_front()) {
    Turn turn = std::move(waiting_.front());
    bool is_open = false;
    const auto enter = [&] {
      is_open = turn.queue.is_open();
      if (is_open) turn.queue.join();
    };
    if (attempt(turn, enter)) (is_open ? joined_ : closed).push_back(std::move(turn));
  }
  waiting_.insert(waiting_.begin(), std::make_move_iterator(closed.begin()), std::make_move_iterator(closed.end()));
}

/// Reads the documents whose turn has come. Returns whether there are no others.
bool DocumentReader::look() {
  const double start = now();
  const AccessQueue::Listing listing(joined_.front().queue.directory);
  for (Turn& turn : joined_) {
    if (now() - start > kPatience) {
      put_back(turn);
    } else {
      look_at(turn, listing);
    }
  }
  open_gates();
  std::erase_if(joined_, [](const Turn& turn) { return turn.state == Turn::kOver; });
  return joined_.empty();
}

void DocumentReader::look_at(Turn& turn, const AccessQueue::Listing& listing) {
  attempt(turn, [&] {
    if (!turn.queue.is_head(listing)) return;
    turn.outcome->document = turn.queue.read();
    turn.queue.leave_queue();
    turn.state = Turn::kRead;
  });
}

/// After all documents were read, so that the directory is listed once and not for each.
void DocumentReader::open_gates() {
  const AccessQueue::Listing listing(joined_.front().queue.directory);
  for (Turn& turn : joined_) {
    if (turn.state == Turn::kRead && attempt(turn, [&] { turn.queue.open_gate(listing); })) turn.state = Turn::kOver;
  }
}

/// Lets others have a document that this reader came too late to.
void DocumentReader::put_back(Turn& turn) {
  if (!attempt(turn, [&] { turn.queue.release_access(); })) return;
  waiting_.push_back(turn);
  turn.state = Turn::kOver;
}

void DocumentReader::release() {
  for (const Turn& turn : joined_) turn.queue.release_access();
}

}  // namespace

std::vector<ReadDocument> read_documents(const std::vector<py::Object>& paths) {
  std::vector<ReadDocument> outcomes(paths.size());
  DocumentReader reader;
  for (std::size_t i = 0; i < paths.size(); ++i) reader.add(paths[i], outcomes[i]);
  reader.run();
  return outcomes;
}

}  // namespace heron
