#include "player/CStreamTiming.h"

#include <algorithm>

namespace zp {

namespace {

constexpr uint32_t kModeDelay = 0;
constexpr uint32_t kModeImmediate = 2;

}  // namespace

int32_t CStreamTiming::DelaySpeed(Span span, uint32_t nMaxDelayMs, int32_t nSpeed) {
  if (span.bMeasurable && span.nMs >= nMaxDelayMs) {
    return nSpeed == 0 ? kCatchUpSpeed : nSpeed;
  }
  return 0;
}

uint32_t CStreamTiming::PacedInterval(uint32_t nIntervalMs, int32_t nSpeed) {
  return nSpeed == kCatchUpSpeed ? nIntervalMs * 3 / 4 : nIntervalMs;
}

bool CStreamTiming::StartsPlaying(int nVideoFrames, int nAudioFrames, Span span, uint32_t nMinDelayMs) {
  if (nVideoFrames == 0) {
    return nAudioFrames != 0;
  }
  return !(span.bMeasurable && span.nMs < nMinDelayMs);
}

bool CStreamTiming::IsBufferFull(uint32_t nMode, bool bStrict, int nVideoFrames, Span span,
                                 uint32_t nMaxDelayMs) {
  if (nVideoFrames <= 0) {
    return false;
  }
  if (nMode == kModeImmediate) {
    return static_cast<uint32_t>(nVideoFrames) >= (bStrict ? kFullFramesStrict : kFullFramesLoose);
  }
  if (nMode != kModeDelay || !span.bMeasurable) {
    return false;
  }
  const uint64_t limit = static_cast<uint64_t>(nMaxDelayMs) + (bStrict ? kFullSpanStrictMs : kFullSpanLooseMs);
  return span.nMs >= limit;
}

uint32_t CStreamTiming::CachedWait(uint32_t nIntervalMs) { return std::min(nIntervalMs, kCachedWaitCapMs); }

uint32_t CStreamTiming::GrowthFactor(uint32_t nFrames, uint32_t nSlots) {
  if (nFrames < nSlots / 4) {
    return 8;
  }
  if (nFrames < nSlots / 2) {
    return 4;
  }
  if (nFrames < nSlots * 8 / 10) {
    return 2;
  }
  return 0;
}

uint32_t CStreamTiming::PlayedSeconds(uint64_t u64Base, uint64_t u64Stamp) {
  return static_cast<uint32_t>((u64Stamp - u64Base + 500000) / 1000000);
}

}  // namespace zp
