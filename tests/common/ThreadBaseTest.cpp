#include <gtest/gtest.h>

#include <atomic>

#include "common/CAutoLock.h"
#include "common/CThreadBase.h"
#include "platform/CEvent.h"

using zp::CThreadBase;

namespace {

struct Worker {
  CThreadBase thread;
  std::atomic<int> loops{0};
  static uint32_t Loop(void* arg) {
    auto* self = static_cast<Worker*>(arg);
    while (!self->thread.WaitStop(1)) {
      ++self->loops;
    }
    return 42;
  }
};

class RunOverride : public CThreadBase {
 public:
  ~RunOverride() override { Stop(zp::platform::kInfinite); }
  uint32_t Run() override {
    ran = true;
    return 7;
  }
  std::atomic<bool> ran{false};
};

}  // namespace

TEST(ThreadBase, StartRunsTheFunctionUntilStopAndRefusesASecondStart) {
  Worker w;
  EXPECT_FALSE(w.thread.Stop(100));
  ASSERT_TRUE(w.thread.Start(&Worker::Loop, &w));
  EXPECT_TRUE(w.thread.IsRunning());
  EXPECT_FALSE(w.thread.Start(&Worker::Loop, &w));
  while (w.loops < 3) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(w.thread.Stop(zp::platform::kInfinite));
  EXPECT_FALSE(w.thread.IsRunning());
  EXPECT_EQ(w.thread.ExitCode(), 42u);
  // It can be started again after a stop, with the stop event cleared.
  const int before = w.loops;
  ASSERT_TRUE(w.thread.Start(&Worker::Loop, &w));
  while (w.loops < before + 3) {
    std::this_thread::yield();
  }
  EXPECT_TRUE(w.thread.Stop(zp::platform::kInfinite));
}

TEST(ThreadBase, WithoutAFunctionRunIsCalled) {
  RunOverride t;
  ASSERT_TRUE(t.Start(nullptr, nullptr));
  EXPECT_TRUE(t.Stop(zp::platform::kInfinite));
  EXPECT_TRUE(t.ran);
  EXPECT_EQ(t.ExitCode(), 7u);
}

TEST(ThreadBase, AThreadThatOutlivesTheTimeoutIsAbandonedAndTheObjectCleared) {
  static zp::platform::CEvent release;
  release.Reset();
  CThreadBase t;
  ASSERT_TRUE(t.Start([](void*) -> uint32_t {
    release.Wait(zp::platform::kInfinite);  // ignores the stop event on purpose
    return 0;
  }, nullptr));
  EXPECT_TRUE(t.Stop(20));
  EXPECT_FALSE(t.IsRunning());
  EXPECT_EQ(t.ThreadId(), 0u);
  EXPECT_EQ(t.ExitCode(), 0xFFFFFFFFu);
  release.Set();
}

TEST(AutoLock, EarlyUnlockIsNotUndoneTwice) {
  zp::CMutexLock lock;
  {
    zp::CAutoLock outer(&lock);
    zp::CAutoLock inner(&lock);  // recursive: the same thread enters again
    inner.Unlock();
    inner.Unlock();
  }
  // Had the lock been left too often or too rarely, another thread could not take it now.
  std::atomic<bool> taken{false};
  std::thread other([&] {
    zp::CAutoLock l(&lock);
    taken = true;
  });
  other.join();
  EXPECT_TRUE(taken);
  zp::CAutoLock none(nullptr);
}
