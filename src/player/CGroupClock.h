#pragma once
#include <cstdint>

namespace zp {

// The shared play clock of a multi-play-back group: the stamps it counts from and towards, the
// advance by elapsed time and rate, the 50 ms lead limit, reverse play and whether a frame may
// be shown. A plain class without locks or threads: the group serialises the calls, and its
// clock thread passes in the tick (a wrapping millisecond count) at every wake-up, so that the
// arithmetic is driven by any clock.
class CGroupClock {
 public:
  static constexpr uint64_t kLeadLimitUs = 50000;
  static constexpr uint64_t kAheadLimitUs = 500000;
  static constexpr uint64_t kReverseWindowUs = 5000000;

  // The stamp bookkeeping of one frame handed to the group, before it is routed.
  void NoteFrame(uint32_t nType, uint64_t u64Stamp);
  // One wake-up of the clock thread at tick nNowMs: starts the clock at the begin stamp and
  // advances it by the time since the previous wake-up (none at the first).
  void Tick(uint32_t nNowMs);
  // Whether a frame of this stamp may be shown now.
  bool Admit(uint64_t u64Stamp) const;

  // Ignored while the clock runs and the stamp is at or past the newest frame received.
  void SetPlayStamp(uint64_t u64Stamp);
  // Unconditional: the seek by stamp.
  void SeekPlayStamp(uint64_t u64Stamp) { m_u64PlayStamp = u64Stamp; }
  void SetPaused(bool bPaused) { m_bPaused = bPaused; }
  // 0 or 1 normal, n >= 2 n times faster, -n n times slower.
  void SetRate(int32_t nRate) { m_nRate = nRate; }
  void SetReverse(bool bReverse) { m_bReverse = bReverse; }

  uint64_t PlayStamp() const { return m_u64PlayStamp; }
  uint64_t BeginStamp() const { return m_u64BeginStamp; }
  uint64_t NewestStamp() const { return m_u64NewestStamp; }
  bool IsPaused() const { return m_bPaused; }
  bool IsReverse() const { return m_bReverse; }
  int32_t Rate() const { return m_nRate; }
  // Whole seconds from the begin stamp to the play stamp.
  uint32_t PlayedSeconds() const;

 private:
  bool IsRunning() const { return m_u64PlayStamp != 0; }
  uint64_t Advance(uint32_t nElapsedMs) const;
  void Restart(uint64_t u64Stamp);

  uint64_t m_u64PlayStamp = 0;  // 0: not started
  uint64_t m_u64BeginStamp = 0;
  uint64_t m_u64NewestStamp = 0;
  bool m_bPaused = false;
  int32_t m_nRate = 0;
  bool m_bReverse = false;
  bool m_bKeySeen = false;
  bool m_bTicked = false;
  uint32_t m_nLastTick = 0;
};

}  // namespace zp
