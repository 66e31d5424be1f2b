#include "player/CWakeSignal.h"

#include <chrono>

namespace zp {

void CWakeSignal::Notify() {
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_bSignalled = true;
  }
  m_cond.notify_all();
}

bool CWakeSignal::Wait(uint32_t ms) {
  std::unique_lock<std::mutex> lock(m_mutex);
  const bool signalled =
      m_cond.wait_for(lock, std::chrono::milliseconds(ms), [this] { return m_bSignalled; });
  m_bSignalled = false;
  return signalled;
}

}  // namespace zp
