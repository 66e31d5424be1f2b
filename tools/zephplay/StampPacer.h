#pragma once
// When a frame is due, from its stamp: the first stamp is due at 0 ms, later ones as far after
// it as their stamps say, divided by the speed. A stamp below the newest (B-frames, audio
// interleaved with video) is due with the newest. A jump of more than kJumpUs either way (the
// recorder's clock reset, a gap) starts the count again from the newest due time.
#include <cstdint>

class StampPacer {
 public:
  static constexpr uint64_t kJumpUs = 5000000;

  explicit StampPacer(double speed) : m_speed(speed) {}
  // Milliseconds after the start at which a frame with this stamp is due.
  uint64_t DueMs(uint64_t stampUs);

 private:
  double m_speed;
  bool m_started = false;
  uint64_t m_baseUs = 0;    // the stamp that is due at m_baseMs
  uint64_t m_baseMs = 0;
  uint64_t m_newestUs = 0;
  uint64_t m_newestMs = 0;
};
