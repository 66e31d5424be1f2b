#include "ToolSession.h"

#include "ToolWindow.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>

namespace {

constexpr uint32_t kTickMs = 50;

std::atomic<bool> g_interrupted{false};

int RunWindowed(ToolSession* session, ToolWindow* window) {
  while (session->Tick(ToolNowMs())) {
    for (auto event = window->Next(kTickMs); event.kind != ToolWindow::Event::kNone; event = window->Next(0)) {
      if (event.kind == ToolWindow::Event::kClosed ||
          (event.kind == ToolWindow::Event::kKey && !session->Key(event.keysym))) {
        return session->Finish();
      }
      if (event.kind == ToolWindow::Event::kResized) {
        session->WindowResized();
      }
    }
  }
  return session->Finish();
}

int RunHeadless(ToolSession* session) {
  while (session->Tick(ToolNowMs())) {
    usleep(kTickMs * 1000);
  }
  return session->Finish();
}

}  // namespace

int RunToolSession(ToolSession* session, ToolWindow* window) {
  return window != nullptr ? RunWindowed(session, window) : RunHeadless(session);
}

uint32_t ToolNowMs() {
  using namespace std::chrono;
  return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void CatchInterrupt() {
  std::signal(SIGINT, [](int) { g_interrupted.store(true); });
}

bool ToolInterrupted() { return g_interrupted.load(); }
