#pragma once
#include <atomic>
#include <cstdint>
#include <functional>

#include "common/CFrameQueue.h"

namespace zp {

// The wave-out's cache rules: at most every 500 ms, look at the queued audio frames and drop the
// oldest ones when sound would otherwise lag. Three limits, checked in this order:
//  - frame count: 1.5 seconds' worth of frames or more keeps a quarter of a second's worth;
//  - then one of: the audio delay (span above it keeps a quarter second), or with neither delay
//    nor reference time a span of 1500 ms or more (keeps 10 frames), or a frame lagging the
//    reference time by 800 ms (2500 ms with long clear) clears up to the reference time.
// The settings may be changed from any thread; Check runs on the sound thread.
class CAudioCacheControl {
 public:
  static constexpr uint32_t kCheckIntervalMs = 500;

  using TickSource = std::function<uint32_t()>;
  // tick: the millisecond clock (wrapping u32); the platform tick count when empty.
  explicit CAudioCacheControl(TickSource tick = {});

  void SetMaxCacheMinSecond(uint32_t ms) { m_nMaxCacheMinSecond = ms; }
  uint32_t MaxCacheMinSecond() const { return m_nMaxCacheMinSecond; }
  void SetReferenceTime(uint64_t us) { m_u64ReferenceTime = us; }
  void SetLongClear(bool on) { m_nLongClear = on ? 1 : 0; }

  // Trims frames when at least 500 ms passed since the last check; framesPerSecond is the
  // decoder's pacing, stamp the stamp (µs) of the frame decoded last. True when it checked.
  bool Check(CFrameQueue* frames, uint32_t framesPerSecond, uint64_t stamp);

 private:
  void CheckSpanOrLag(CFrameQueue* frames, uint32_t framesPerSecond, uint64_t stamp);

  TickSource m_tick;
  std::atomic<uint32_t> m_nMaxCacheMinSecond{0};
  std::atomic<uint64_t> m_u64ReferenceTime{0};
  std::atomic<uint32_t> m_nLongClear{0};
  uint32_t m_nLastCheckTick = 0;
};

}  // namespace zp
