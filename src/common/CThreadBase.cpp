#include "common/CThreadBase.h"

#include <functional>
#include <system_error>

#include "common/LogAccess.h"
#include "platform/ThreadId.h"

namespace zp {

CThreadBase::CThreadBase() : m_state(std::make_shared<State>()) {}

CThreadBase::~CThreadBase() { Stop(platform::kInfinite); }

bool CThreadBase::Start(ThreadFunc fn, void* arg) {
  if (m_hThread != nullptr) {
    return false;
  }
  m_pThreadFunc = fn;
  m_pThreadArg = arg;
  // A fresh state each run: an abandoned earlier worker keeps its own, still signalled.
  m_state = std::make_shared<State>();
  try {
    m_hThread = std::make_unique<std::thread>(&CThreadBase::Entry, this, m_state, fn, arg);
  } catch (const std::system_error&) {
    m_pThreadFunc = nullptr;
    m_pThreadArg = nullptr;
    return false;
  }
  m_nThreadId = static_cast<uint32_t>(std::hash<std::thread::id>{}(m_hThread->get_id()));
  return true;
}

void CThreadBase::Entry(std::shared_ptr<State> state, ThreadFunc fn, void* arg) {
  state->threadId = platform::CurrentThreadId();
  state->exitCode = fn != nullptr ? fn(arg) : Run();
  state->exited.Set();
}

void CThreadBase::RequestStop() {
  if (m_hThread != nullptr) {
    m_state->stopEvent.Set();
  }
}

bool CThreadBase::Stop(uint32_t timeoutMs) {
  if (m_hThread == nullptr) {
    return false;
  }
  m_state->stopEvent.Set();
  if (m_state->exited.Wait(timeoutMs)) {
    m_hThread->join();
    m_nExitCode = m_state->exitCode;
  } else {
    m_hThread->detach();
    m_nExitCode = 0xFFFFFFFFu;
    LogError("%s thread %u did not end within %u ms; abandoned", "CThreadBase::Stop", m_nThreadId,
             timeoutMs);
  }
  m_hThread.reset();
  m_nThreadId = 0;
  m_pThreadFunc = nullptr;
  m_pThreadArg = nullptr;
  return true;
}

}  // namespace zp
