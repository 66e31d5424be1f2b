#pragma once
#include <cstdint>

namespace zp {

// The stream player's decisions that are plain arithmetic on spans, counts and intervals: the
// delay control of mode 0 (buffering, catch-up), the buffer-full test, the wait cap of mode 1
// and the video queue's growth. No clock, locks or threads: the play thread measures, asks and
// acts; the pacing itself stays in CPlayTiming.
class CStreamTiming {
 public:
  static constexpr int32_t kCatchUpSpeed = 1;
  static constexpr uint32_t kCachedWaitCapMs = 1000;
  static constexpr uint32_t kFullFramesStrict = 501;
  static constexpr uint32_t kFullFramesLoose = 51;
  static constexpr uint32_t kFullSpanStrictMs = 20000;
  static constexpr uint32_t kFullSpanLooseMs = 10000;

  // A queue's span as GetFrameSpan gives it: measurable when the queue is not empty and its
  // stamps do not run backwards.
  struct Span {
    bool bMeasurable = false;
    uint32_t nMs = 0;
  };

  // The play speed while playing in mode 0: catch-up once the span reaches the maximum delay
  // (a speed the user set stays), normal below it (a speed the user set is overridden).
  static int32_t DelaySpeed(Span span, uint32_t nMaxDelayMs, int32_t nSpeed);
  // Catch-up shortens every interval to three quarters, so the backlog melts without skipping.
  static uint32_t PacedInterval(uint32_t nIntervalMs, int32_t nSpeed);

  // Buffering in mode 0: whether to start showing. With no video queued, only queued audio
  // starts it; with video, a span that reaches the minimum delay, or one that cannot be measured.
  static bool StartsPlaying(int nVideoFrames, int nAudioFrames, Span span, uint32_t nMinDelayMs);

  // Is-buffer-full: mode 2 counts frames, mode 0 measures the span against the maximum delay
  // plus a margin; mode 1 never is. bStrict picks the larger limit.
  static bool IsBufferFull(uint32_t nMode, bool bStrict, int nVideoFrames, Span span,
                           uint32_t nMaxDelayMs);

  // Mode 1 paces cached pictures with the interval capped, so a gap in the stamps costs a
  // second at most.
  static uint32_t CachedWait(uint32_t nIntervalMs);

  // The factor by which a refused video queue grows its bytes (0: not at all), from how many
  // of its slots are taken. Few frames held mean large frames, so the bytes grow most; many
  // frames mean the slots are the limit and more bytes would not help.
  static uint32_t GrowthFactor(uint32_t nFrames, uint32_t nSlots);

  // Whole seconds from the base stamp to the stamp (µs), rounded half up.
  static uint32_t PlayedSeconds(uint64_t u64Base, uint64_t u64Stamp);
};

}  // namespace zp
