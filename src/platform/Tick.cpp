#include "platform/Tick.h"

#include <chrono>
#include <thread>

namespace zp::platform {

uint32_t TickCountMs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::chrono::steady_clock::time_point TickDeadline(uint32_t ms) {
  const auto tick = std::chrono::floor<std::chrono::milliseconds>(std::chrono::steady_clock::now());
  return tick + std::chrono::milliseconds(ms);
}

void SleepMs(uint32_t ms) {
  if (ms == 0) {
    std::this_thread::yield();
    return;
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

}  // namespace zp::platform
