#include "audio/CAudioCacheControl.h"

#include "common/LogAccess.h"
#include "platform/Tick.h"

namespace zp {
namespace {

constexpr const char* kName = "CWaveOut::DecoderWave";
constexpr uint32_t kDefaultSpanMs = 1500;
constexpr int kDefaultKeepFrames = 10;
constexpr uint32_t kLagThresholdMs = 800;
constexpr uint32_t kLongLagThresholdMs = 2500;

}  // namespace

CAudioCacheControl::CAudioCacheControl(TickSource tick) : m_tick(std::move(tick)) {
  if (!m_tick) {
    m_tick = &platform::TickCountMs;
  }
}

bool CAudioCacheControl::Check(CFrameQueue* frames, uint32_t framesPerSecond, uint64_t stamp) {
  const uint32_t now = m_tick();
  if (now - m_nLastCheckTick < kCheckIntervalMs) {  // unsigned difference: the tick wraps
    return false;
  }
  const int count = frames->GetFrameNum();
  LogError("%s GetFrameNum:%d, nFramePreSecond:%d", kName, count, static_cast<int>(framesPerSecond));
  if (count >= static_cast<int>(framesPerSecond * 1.5)) {
    frames->ReserveFrameEx(static_cast<int>(framesPerSecond / 4));
    LogInfo("%s GetFrameNum()/nFramePreSecond >  ReserveFrameEx %d", kName, frames->GetFrameNum());
  }
  CheckSpanOrLag(frames, framesPerSecond, stamp);
  m_nLastCheckTick = now;
  return true;
}

void CAudioCacheControl::CheckSpanOrLag(CFrameQueue* frames, uint32_t framesPerSecond, uint64_t stamp) {
  const uint32_t maxCache = m_nMaxCacheMinSecond;
  const uint64_t reference = m_u64ReferenceTime;
  uint32_t span = 0;
  if (maxCache >= 1) {
    if (frames->GetFrameSpan(&span) != 0 && span > maxCache) {
      frames->ReserveFrameEx(static_cast<int>(framesPerSecond / 4));
      LogInfo("%s GetFrameSpan() > m_nMaxCacheMinSecond(%d) ReserveFrameEx %d", kName, static_cast<int>(maxCache),
              frames->GetFrameNum());
    }
    return;
  }
  if (reference == 0) {
    if (frames->GetFrameSpan(&span) != 0 && span >= kDefaultSpanMs) {
      frames->ReserveFrameEx(kDefaultKeepFrames);
    }
    return;
  }
  if (stamp == 0 || stamp >= reference) {
    return;
  }
  const uint64_t lag = (reference - stamp) / 1000;
  const uint32_t threshold = m_nLongClear != 0 ? kLongLagThresholdMs : kLagThresholdMs;
  if (lag >= threshold) {
    frames->ClearFrame(reference);
    LogInfo("%s dwTime:%d(Threshold:%d) ClearFrame FrameNum:%d", kName, static_cast<int>(lag),
            static_cast<int>(threshold), frames->GetFrameNum());
  }
}

}  // namespace zp
