#include "PlayerProbe.h"

#include <chrono>
#include <cstdlib>

#include "ProcessStats.h"

namespace zp::bench {

namespace {

// Headless: no window, and no sound device is ever opened (sound stays off).
void InitializeOnce() {
  static const bool done = [] {
    setenv("SDL_AUDIODRIVER", "dummy", 0);
    return ZEPHPLAY_Initialize() == 0;
  }();
  (void)done;
}

std::chrono::duration<double> Seconds(double s) { return std::chrono::duration<double>(s); }

}  // namespace

PlayerProbe::PlayerProbe(size_t capacity) {
  m_decoded.reserve(capacity);
  m_displayed.reserve(capacity);
}

PlayerProbe::~PlayerProbe() {
  if (m_handle != nullptr) {
    if (!m_stream) {
      ZEPHPLAY_Stop(m_handle);  // a stream has no stop of its own: closing the handle stops it
    }
    ZEPHPLAY_ClosePlayHandle(m_handle);
  }
}

bool PlayerProbe::OpenHandle() {
  InitializeOnce();
  if (ZEPHPLAY_OpenPlayHandle(&m_handle) != 0 || m_handle == nullptr) {
    m_handle = nullptr;
    return false;
  }
  return true;
}

bool PlayerProbe::SetPictureCallbacks() {
  const uint64_t self = reinterpret_cast<uint64_t>(this);
  return ZEPHPLAY_SetDecCallBack(m_handle, self, &PlayerProbe::OnDecoded) == 0 &&
         ZEPHPLAY_SetDisplayCallBack(m_handle, self, &PlayerProbe::OnDisplayed) == 0;
}

bool PlayerProbe::Open(const std::string& path) {
  ZEPHPLAY_RECORD_INFO info{};
  return OpenHandle() && ZEPHPLAY_OpenFile(m_handle, path.c_str(), 0) == 0 &&
         ZEPHPLAY_GetFileInfo(m_handle, &info) == 0 && SetPictureCallbacks() &&
         ZEPHPLAY_SetEndCallBack(m_handle, reinterpret_cast<uint64_t>(this), &PlayerProbe::OnEnd) == 0;
}

bool PlayerProbe::OpenStream(uint32_t videoQueueBytes, uint32_t unpaced) {
  m_stream = true;
  return OpenHandle() && ZEPHPLAY_OpenStream(m_handle, nullptr, 0, videoQueueBytes, unpaced) == 0 &&
         SetPictureCallbacks();
}

bool PlayerProbe::WaitEnd(double seconds, double* pAt) {
  std::unique_lock<std::mutex> lock(m_lock);
  if (!m_changed.wait_for(lock, Seconds(seconds), [this] { return m_ended; })) {
    return false;
  }
  *pAt = m_endSeconds;
  return true;
}

bool PlayerProbe::WaitDisplayed(size_t count, double seconds) {
  std::unique_lock<std::mutex> lock(m_lock);
  m_displayWanted = count;
  const bool shown = m_changed.wait_for(lock, Seconds(seconds), [&] { return m_displayed.size() >= count; });
  m_displayWanted = kNone;
  return shown;
}

void PlayerProbe::MarkCpuAtDecoded(size_t count) {
  std::lock_guard<std::mutex> lock(m_lock);
  m_cpuMarkCount = count;
}

double PlayerProbe::CpuAtMark() {
  std::lock_guard<std::mutex> lock(m_lock);
  return m_cpuAtMark;
}

std::vector<PlayerProbe::Event> PlayerProbe::Decoded() {
  std::lock_guard<std::mutex> lock(m_lock);
  return m_decoded;
}

std::vector<PlayerProbe::Event> PlayerProbe::Displayed() {
  std::lock_guard<std::mutex> lock(m_lock);
  return m_displayed;
}

// Past the reserved capacity notes are dropped, never allocated for. The waiter is woken only
// when the count it waits for is reached: a wake-up per picture would be charged to the player.
void PlayerProbe::Note(std::vector<Event>* pEvents, uint64_t stampUs) {
  const double now = WallSeconds();
  std::lock_guard<std::mutex> lock(m_lock);
  if (pEvents->size() < pEvents->capacity()) {
    pEvents->push_back({stampUs, now});
  }
  if (pEvents == &m_decoded && m_decoded.size() == m_cpuMarkCount) {
    m_cpuAtMark = ProcessCpuSeconds();
  }
  if (pEvents == &m_displayed && m_displayed.size() >= m_displayWanted) {
    m_changed.notify_all();
  }
}

void PlayerProbe::OnDecoded(uint64_t user, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t, int32_t,
                            int32_t, int32_t, uint64_t stamp) {
  auto* self = reinterpret_cast<PlayerProbe*>(user);
  self->Note(&self->m_decoded, stamp);
}

void PlayerProbe::OnDisplayed(uint64_t, uint32_t, uint32_t, uint64_t stamp, uint32_t, uint32_t, uint64_t user) {
  auto* self = reinterpret_cast<PlayerProbe*>(user);
  self->Note(&self->m_displayed, stamp);
}

void PlayerProbe::OnEnd(uint32_t, uint64_t user) {
  auto* self = reinterpret_cast<PlayerProbe*>(user);
  const double now = WallSeconds();
  std::lock_guard<std::mutex> lock(self->m_lock);
  self->m_ended = true;
  self->m_endSeconds = now;
  self->m_changed.notify_all();
}

}  // namespace zp::bench
