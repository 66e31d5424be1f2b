#pragma once
#include <cstdint>
#include <functional>

namespace zp {

// The timing decisions of the players: frame intervals from stamps and the play rate, pacing
// with a carry, the rate rules and key-frame-only playback. A plain class with an injected
// millisecond clock (a wrapping u32 tick), no locks and no threads: the player's threads read
// the clock through it, ask, and act; the owner serialises the calls (the play lock).
class CPlayTiming {
 public:
  using Clock = std::function<uint32_t()>;

  static constexpr uint32_t kDefaultIntervalMs = 40;
  static constexpr uint32_t kResetIntervalMs = 5000;
  static constexpr int32_t kKeyFrameOnlyRate = 5;
  static constexpr uint32_t kFlashDelayMs = 500;

  // clock: the tick source; the platform tick count when empty.
  explicit CPlayTiming(Clock clock = {});

  uint32_t Now() const { return m_clock(); }

  // Milliseconds between two stamps (µs), rounded half up at the 0.1 ms digit; 40 when next is
  // below current.
  static uint32_t StampDiffMs(uint64_t u64Current, uint64_t u64Next);
  // The stream player's (and forward file playback's) interval: 40 without a current stamp;
  // the stamps swapped when playing key frames backwards; rate >= 1 divides, rate < 0
  // multiplies by -2 x rate.
  static uint32_t GeneralInterval(uint64_t u64Current, uint64_t u64Next, int32_t nRate,
                                  bool bPlayBackIFrame);
  // Backward file playback's interval: a rate >= 0 leaves it, rate < 0 divides by -2 x rate.
  // Deliberately not the general form.
  static uint32_t FileInterval(uint64_t u64Current, uint64_t u64Next, int32_t nRate);
  static bool IsKeyFrameOnly(int32_t nRate, bool bPlayBackIFrame);
  // Whether moving from one rate to the other restarts the pacing.
  static bool RateChangeResetsPacing(int32_t nOldRate, int32_t nNewRate);

  // Is the next picture due after nIntervalMs? Moves the pacing tick and carry when it is.
  bool IsDue(uint32_t nIntervalMs);
  // How long until IsDue(nIntervalMs) would say yes (0: now).
  uint32_t MsUntilDue(uint32_t nIntervalMs) const;
  void ResetPacing();
  uint32_t Carry() const { return m_nCarry; }
  // A carry of at least the next interval makes the next picture due at once.
  void SetCarry(uint32_t nCarryMs) { m_nCarry = nCarryMs; }
  uint32_t PacingTick() const { return m_nPacingTick; }

  // The draw tick: when a picture was last drawn.
  void NoteDraw() { m_nDrawTick = Now(); }
  uint32_t DrawTick() const { return m_nDrawTick; }
  // Flash (redraw): true when 500 ms passed since the last draw (the caller redraws and notes
  // the draw, and the pending flash is done); else, when asked, a flash becomes pending.
  bool FlashDue(bool bMarkPending);
  // A pending flash whose 500 ms have passed: cleared and reported once.
  bool TakePendingFlash();
  bool FlashPending() const { return m_nFlashPending != 0; }

 private:
  Clock m_clock;
  uint32_t m_nPacingTick;
  uint32_t m_nFlashPending = 0;
  uint32_t m_nFlashTick = 0;
  uint32_t m_nCarry = 0;
  uint32_t m_nDrawTick;
};

}  // namespace zp
