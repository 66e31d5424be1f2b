#include "player/CPlayTiming.h"

#include "platform/Tick.h"

namespace zp {

CPlayTiming::CPlayTiming(Clock clock)
    : m_clock(clock ? std::move(clock) : Clock(platform::TickCountMs)),
      m_nPacingTick(m_clock()),
      m_nDrawTick(m_nPacingTick) {}

uint32_t CPlayTiming::StampDiffMs(uint64_t u64Current, uint64_t u64Next) {
  if (u64Next < u64Current) {
    return kDefaultIntervalMs;
  }
  const uint32_t d = static_cast<uint32_t>(u64Next - u64Current);
  return d / 1000 + ((d / 100) % 10 >= 5 ? 1 : 0);
}

uint32_t CPlayTiming::GeneralInterval(uint64_t u64Current, uint64_t u64Next, int32_t nRate,
                                      bool bPlayBackIFrame) {
  uint32_t interval = kDefaultIntervalMs;
  if (u64Current != 0) {
    interval = bPlayBackIFrame ? StampDiffMs(u64Next, u64Current) : StampDiffMs(u64Current, u64Next);
  }
  if (nRate >= 1) {
    return interval / static_cast<uint32_t>(nRate);
  }
  if (nRate < 0) {
    return interval * static_cast<uint32_t>(-2 * nRate);
  }
  return interval;
}

uint32_t CPlayTiming::FileInterval(uint64_t u64Current, uint64_t u64Next, int32_t nRate) {
  const uint32_t interval = u64Current == 0 ? kDefaultIntervalMs : StampDiffMs(u64Current, u64Next);
  return nRate < 0 ? interval / static_cast<uint32_t>(-2 * nRate) : interval;
}

bool CPlayTiming::IsKeyFrameOnly(int32_t nRate, bool bPlayBackIFrame) {
  return bPlayBackIFrame || nRate >= kKeyFrameOnlyRate;
}

bool CPlayTiming::RateChangeResetsPacing(int32_t nOldRate, int32_t nNewRate) {
  if (nOldRate >= 0) {
    return nNewRate < 0 || nNewRate >= kKeyFrameOnlyRate;
  }
  return nNewRate >= 0;
}

bool CPlayTiming::IsDue(uint32_t nIntervalMs) {
  const uint32_t now = Now();
  if (nIntervalMs > kResetIntervalMs) {
    ResetPacing();
    return true;
  }
  const uint32_t elapsed = now - m_nPacingTick;
  if (m_nCarry < nIntervalMs && elapsed < nIntervalMs) {
    return false;
  }
  // Lateness is carried over, so that a late picture makes the following ones come sooner.
  m_nCarry = m_nCarry + elapsed - nIntervalMs;
  m_nPacingTick = now;
  return true;
}

uint32_t CPlayTiming::MsUntilDue(uint32_t nIntervalMs) const {
  if (nIntervalMs > kResetIntervalMs || m_nCarry >= nIntervalMs) {
    return 0;
  }
  const uint32_t elapsed = Now() - m_nPacingTick;
  return elapsed >= nIntervalMs ? 0 : nIntervalMs - elapsed;
}

void CPlayTiming::ResetPacing() {
  m_nPacingTick = Now();
  m_nCarry = 0;
}

bool CPlayTiming::FlashDue(bool bMarkPending) {
  const uint32_t now = Now();
  if (now - m_nDrawTick >= kFlashDelayMs) {
    m_nFlashPending = 0;
    return true;
  }
  if (bMarkPending) {
    m_nFlashPending = 1;
    m_nFlashTick = now;
  }
  return false;
}

bool CPlayTiming::TakePendingFlash() {
  if (m_nFlashPending == 0 || Now() - m_nFlashTick < kFlashDelayMs) {
    return false;
  }
  m_nFlashPending = 0;
  return true;
}

}  // namespace zp
