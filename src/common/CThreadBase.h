#pragma once
#include <cstdint>
#include <memory>
#include <thread>

#include "platform/CEvent.h"

namespace zp {

// A worker thread with a manual-reset stop event.
//
// Start(fn, arg) runs fn(arg) on a new thread, or Run() when fn is null. The worker ends by
// polling StopEvent() (a 0 or 1 ms wait) between units of work. Stop(timeout) signals the event
// and waits; a thread that has not ended by then cannot be killed safely on this platform, so it
// is detached and left to end by itself, with its exit code taken as -1 and an error logged.
// A subclass whose Run() touches its own members must Stop() in its own destructor.
class CThreadBase {
 public:
  using ThreadFunc = uint32_t (*)(void* arg);

  CThreadBase();
  virtual ~CThreadBase();
  CThreadBase(const CThreadBase&) = delete;
  CThreadBase& operator=(const CThreadBase&) = delete;

  // Called on the worker when Start was given no function; the result is the exit code.
  virtual uint32_t Run() { return 0; }

  // False while a thread is running, or when the thread cannot be created.
  bool Start(ThreadFunc fn, void* arg);
  // False when no thread runs; otherwise stops it (see above) and returns true.
  bool Stop(uint32_t timeoutMs);
  // Signals the stop event without waiting, so that a waker can rouse the worker after it;
  // nothing when no thread runs.
  void RequestStop();

  bool IsRunning() const { return m_hThread != nullptr; }
  uint32_t ThreadId() const { return m_nThreadId; }
  // Exit code of the last thread that was stopped; 0xFFFFFFFF when it had to be abandoned.
  uint32_t ExitCode() const { return m_nExitCode; }

  // True when a stop was asked for; waits up to ms for it first.
  bool WaitStop(uint32_t ms) const { return m_state->stopEvent.Wait(ms); }
  const platform::CEvent& StopEvent() const { return m_state->stopEvent; }

 private:
  // Everything the worker touches besides the object itself lives here, shared with the
  // worker, so that an abandoned worker never reads freed memory of ours.
  struct State {
    platform::CEvent stopEvent;
    platform::CEvent exited;
    uint32_t exitCode = 0;
    uint32_t threadId = 0;
  };

  void Entry(std::shared_ptr<State> state, ThreadFunc fn, void* arg);

  std::unique_ptr<std::thread> m_hThread;
  uint32_t m_nThreadId = 0;
  std::shared_ptr<State> m_state;
  ThreadFunc m_pThreadFunc = nullptr;
  void* m_pThreadArg = nullptr;
  uint32_t m_nExitCode = 0;
};

}  // namespace zp
