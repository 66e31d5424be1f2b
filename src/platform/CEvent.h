#pragma once
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace zp::platform {

inline constexpr uint32_t kInfinite = 0xFFFFFFFFu;

// A manual-reset event: once set it stays set, releasing every waiter, until Reset.
class CEvent {
 public:
  explicit CEvent(bool initiallySet = false) : m_bSet(initiallySet) {}
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  void Set();
  void Reset();
  bool IsSet() const;
  // Waits up to timeoutMs (kInfinite: no limit); true when the event is set.
  bool Wait(uint32_t timeoutMs) const;

 private:
  mutable std::mutex m_mutex;
  mutable std::condition_variable m_cond;
  bool m_bSet;
};

}  // namespace zp::platform
