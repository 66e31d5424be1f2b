#include "ToolSession.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>

namespace {

constexpr uint32_t kTickMs = 50;

std::atomic<bool> g_interrupted{false};

int RunWindowed(ToolSession* session) {
  SDL_Event event;
  while (session->Tick(ToolNowMs())) {
    if (SDL_WaitEventTimeout(&event, kTickMs) == 0) {
      continue;
    }
    do {
      if (event.type == SDL_QUIT || (event.type == SDL_KEYDOWN && !session->Key(event.key.keysym.sym))) {
        return session->Finish();
      }
      if (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) {
        session->WindowResized();
      }
    } while (SDL_PollEvent(&event) != 0);
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

int RunToolSession(ToolSession* session, bool windowed) {
  return windowed ? RunWindowed(session) : RunHeadless(session);
}

uint32_t ToolNowMs() {
  using namespace std::chrono;
  return static_cast<uint32_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void CatchInterrupt() {
  std::signal(SIGINT, [](int) { g_interrupted.store(true); });
}

bool ToolInterrupted() { return g_interrupted.load(); }
