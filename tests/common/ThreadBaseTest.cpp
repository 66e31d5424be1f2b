#include <gtest/gtest.h>

#include "LockProbe.h"
#include "common/CThreadBase.h"
#include "platform/CEvent.h"

using zp::CThreadBase;

namespace {

// Loops until stopped; `looping` is set from the thread, so a test waits on it with a deadline.
struct Worker {
  CThreadBase thread;
  zp::platform::CEvent looping;
  static uint32_t Loop(void* arg) {
    auto* self = static_cast<Worker*>(arg);
    while (!self->thread.WaitStop(1)) {
      self->looping.Set();
    }
    return 42;
  }
};

class RunOverride : public CThreadBase {
 public:
  ~RunOverride() override { Stop(zp::platform::kInfinite); }
  uint32_t Run() override { return 7; }
};

}  // namespace

// Also: a thread without a function runs Run(), and a stopped thread starts again with the stop
// event cleared.
TEST(ThreadBase, StartRunsTheFunctionUntilStopAndRefusesASecondStart) {
  Worker w;
  EXPECT_FALSE(w.thread.Stop(100));
  ASSERT_TRUE(w.thread.Start(&Worker::Loop, &w));
  EXPECT_FALSE(w.thread.Start(&Worker::Loop, &w));
  EXPECT_TRUE(w.looping.Wait(10000));
  EXPECT_TRUE(w.thread.Stop(10000));
  EXPECT_FALSE(w.thread.IsRunning());
  EXPECT_EQ(w.thread.ExitCode(), 42u);
  w.looping.Reset();
  ASSERT_TRUE(w.thread.Start(&Worker::Loop, &w));
  EXPECT_TRUE(w.looping.Wait(10000));
  EXPECT_TRUE(w.thread.Stop(10000));

  RunOverride t;
  ASSERT_TRUE(t.Start(nullptr, nullptr));
  EXPECT_TRUE(t.Stop(10000));
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
  ExpectAnotherThreadTakes(&lock, "AutoLock.EarlyUnlockIsNotUndoneTwice");
  zp::CAutoLock none(nullptr);
}
