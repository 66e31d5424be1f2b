#pragma once
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace zp {

// An auto-reset wake-up for a waiting loop: Notify wakes the waiter (or the next wait, when
// nobody waits yet); Wait returns after a notification or the timeout, and consumes it.
// A notification already pending costs the next Notify one atomic exchange: producers call it
// once a frame, far more often than the consumer waits.
class CWakeSignal {
 public:
  CWakeSignal() = default;
  CWakeSignal(const CWakeSignal&) = delete;
  CWakeSignal& operator=(const CWakeSignal&) = delete;

  void Notify();
  // True when notified, false at the timeout.
  bool Wait(uint32_t ms);
  // The same, the timeout a moment of the monotonic clock.
  bool WaitUntil(std::chrono::steady_clock::time_point deadline);

 private:
  std::mutex m_mutex;
  std::condition_variable m_cond;
  std::atomic<bool> m_bSignalled{false};
};

}  // namespace zp
