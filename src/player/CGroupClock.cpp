#include "player/CGroupClock.h"

namespace zp {

namespace {

constexpr uint32_t kAttrType = 1;
constexpr uint32_t kRefusedType = 2;
constexpr uint32_t kKeyClass = 0x63643000;
constexpr uint32_t kAudioClass = 0x63643200;

uint32_t Class(uint32_t nType) { return nType & 0xFFFFFF00u; }

}  // namespace

void CGroupClock::Restart(uint64_t u64Stamp) {
  m_u64PlayStamp = 0;
  m_u64BeginStamp = u64Stamp;
  m_u64NewestStamp = u64Stamp;
}

void CGroupClock::NoteFrame(uint32_t nType, uint64_t u64Stamp) {
  if (nType == kAttrType) {
    Restart(0);
    m_bKeySeen = false;
  }
  if (m_u64BeginStamp == 0) {
    m_u64BeginStamp = u64Stamp;
    m_u64NewestStamp = u64Stamp;
  }
  if (nType == kAttrType || nType == kRefusedType) {
    return;
  }
  const bool key = Class(nType) == kKeyClass;
  if (key && !m_bKeySeen) {
    // The first picture any channel can show: the clock starts again from it.
    m_bKeySeen = true;
    Restart(u64Stamp);
  }
  if (u64Stamp > m_u64NewestStamp) {
    m_u64NewestStamp = u64Stamp;
  }
  const bool earlierStart = (key && m_bKeySeen) || (Class(nType) == kAudioClass && !m_bKeySeen);
  if (u64Stamp < m_u64BeginStamp && earlierStart) {
    m_u64BeginStamp = u64Stamp;
    m_u64PlayStamp = 0;
  }
}

uint64_t CGroupClock::Advance(uint32_t nElapsedMs) const {
  const uint64_t advance = static_cast<uint64_t>(nElapsedMs) * 1000;
  if (m_nRate >= 1) {
    return advance * static_cast<uint64_t>(m_nRate);
  }
  if (m_nRate < 0) {
    return advance / static_cast<uint64_t>(-static_cast<int64_t>(m_nRate));
  }
  return advance;
}

void CGroupClock::Tick(uint32_t nNowMs) {
  const uint32_t elapsed = m_bTicked ? nNowMs - m_nLastTick : 0;  // wraps with the tick
  m_bTicked = true;
  m_nLastTick = nNowMs;
  if (m_u64PlayStamp == 0 && m_u64BeginStamp != 0) {
    m_u64PlayStamp = m_u64BeginStamp;
  }
  if (!IsRunning() || m_bPaused) {
    return;
  }
  const uint64_t advance = Advance(elapsed);
  if (!m_bReverse) {
    // Never more than 50 ms past the newest frame received: a channel that stalls holds the clock.
    if (m_u64PlayStamp + advance < m_u64NewestStamp + kLeadLimitUs) {
      m_u64PlayStamp += advance;
    }
    return;
  }
  if (m_u64PlayStamp > m_u64BeginStamp + advance) {
    m_u64PlayStamp -= advance;
  }
}

bool CGroupClock::Admit(uint64_t u64Stamp) const {
  if (!m_bReverse) {
    return u64Stamp < m_u64PlayStamp + kAheadLimitUs;
  }
  // Backwards, a frame between half a second and five seconds behind the clock waits; one
  // further behind (the next group of pictures back) is let through.
  const bool waits = u64Stamp + kAheadLimitUs <= m_u64PlayStamp && m_u64PlayStamp <= u64Stamp + kReverseWindowUs;
  return !waits;
}

void CGroupClock::SetPlayStamp(uint64_t u64Stamp) {
  if (IsRunning() && u64Stamp >= m_u64NewestStamp) {
    return;
  }
  m_u64PlayStamp = u64Stamp;
}

uint32_t CGroupClock::PlayedSeconds() const {
  if (m_u64PlayStamp < m_u64BeginStamp) {
    return 0;
  }
  return static_cast<uint32_t>((m_u64PlayStamp - m_u64BeginStamp) / 1000000);
}

}  // namespace zp
