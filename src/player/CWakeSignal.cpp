#include "player/CWakeSignal.h"

#include <chrono>

namespace zp {

void CWakeSignal::Notify() {
  if (m_bSignalled.exchange(true)) {
    return;  // the notifier that set it wakes the waiter
  }
  // Taking the mutex orders the flag before a waiter that is between its check and its sleep.
  { std::lock_guard<std::mutex> lock(m_mutex); }
  m_cond.notify_all();
}

bool CWakeSignal::Wait(uint32_t ms) {
  return WaitUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(ms));
}

bool CWakeSignal::WaitUntil(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(m_mutex);
  m_cond.wait_until(lock, deadline, [this] { return m_bSignalled.load(); });
  // Consumed by exchange: a notification set just after the timeout counts, it is not lost.
  return m_bSignalled.exchange(false);
}

}  // namespace zp
