#pragma once
#include <mutex>

namespace zp {

// A recursive critical section: the thread that holds it may enter again.
class CMutexLock {
 public:
  CMutexLock() = default;
  virtual ~CMutexLock() = default;
  CMutexLock(const CMutexLock&) = delete;
  CMutexLock& operator=(const CMutexLock&) = delete;

  void Lock() { m_section.lock(); }
  void Unlock() { m_section.unlock(); }

 private:
  std::recursive_mutex m_section;
};

}  // namespace zp
