#pragma once

#include <atomic>

// The end of the runtime, as seen from a thread that the program leaves behind. Where such a thread next asks for the
// runtime's lock, most runtimes end it by unwinding its frames, through ours too, without the lock. So nothing of ours
// holds that unwinding up, as `catch (...)` does that throws nothing on, and what destructors give back to the runtime
// they keep then: the process is about to end anyway.

namespace heron::py {

/// Has the runtime begun to end? Set while the program's last functions run, before it ends any thread.
inline std::atomic<bool> is_ending = false;

/// Has the runtime shut this thread out? Asked at every reference that is given up, so most processes read one flag.
bool is_shut_out_by_end();
inline bool is_shut_out() { return is_ending.load(std::memory_order_acquire) && is_shut_out_by_end(); }

/// Stops this thread until the process ends. For a destructor that the unwinding would have to leave.
[[noreturn]] void wait_for_end();

/// Learns of the end of the runtime, and which thread brings it about. For the setup of the module.
void watch_for_end();

}  // namespace heron::py
