#pragma once
#include "common/CMutexLock.h"

namespace zp {

// Holds a CMutexLock for the scope. Unlock() leaves early and forgets the lock, so the
// destructor never leaves it a second time. A null lock is accepted and does nothing.
class CAutoLock {
 public:
  explicit CAutoLock(CMutexLock* lock) : m_pLock(lock) {
    if (m_pLock != nullptr) {
      m_pLock->Lock();
    }
  }
  virtual ~CAutoLock() { Unlock(); }
  CAutoLock(const CAutoLock&) = delete;
  CAutoLock& operator=(const CAutoLock&) = delete;

  void Unlock() {
    if (m_pLock == nullptr) {
      return;
    }
    m_pLock->Unlock();
    m_pLock = nullptr;
  }

 private:
  CMutexLock* m_pLock;
};

}  // namespace zp
