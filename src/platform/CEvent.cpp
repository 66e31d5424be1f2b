#include "platform/CEvent.h"

#include <chrono>

namespace zp::platform {

void CEvent::Set() {
  std::lock_guard<std::mutex> guard(m_mutex);
  m_bSet = true;
  m_cond.notify_all();
}

void CEvent::Reset() {
  std::lock_guard<std::mutex> guard(m_mutex);
  m_bSet = false;
}

bool CEvent::IsSet() const {
  std::lock_guard<std::mutex> guard(m_mutex);
  return m_bSet;
}

bool CEvent::Wait(uint32_t timeoutMs) const {
  std::unique_lock<std::mutex> lock(m_mutex);
  // A zero wait only looks: a timed wait that is already over still goes to sleep in the
  // kernel, and the loops test their stop event this way before every pass.
  if (timeoutMs == 0) {
    return m_bSet;
  }
  if (timeoutMs == kInfinite) {
    m_cond.wait(lock, [this] { return m_bSet; });
    return true;
  }
  return m_cond.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return m_bSet; });
}

}  // namespace zp::platform
