#pragma once
// Whether another thread can take a lock now. A lock left held would block that thread for good,
// so past the deadline the program stops with a message rather than hang the test run.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <thread>

#include "common/CAutoLock.h"

inline void ExpectAnotherThreadTakes(zp::CMutexLock* lock, const char* what) {
  std::promise<void> taken;
  std::thread other([&] {
    zp::CAutoLock held(lock);
    taken.set_value();
  });
  if (taken.get_future().wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
    std::fprintf(stderr, "%s: the lock is still held after 10 s\n", what);
    std::abort();
  }
  other.join();
}
