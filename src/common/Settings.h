#pragma once
#include <atomic>
#include <cstdint>
#include <string>

namespace zp {

// Process-wide settings changed by the library setters. Written and read without a lock:
// a reader takes whatever value is current (atomics only keep that free of torn values).
struct Settings {
  static constexpr double kAudioGainMin = 1.0;
  static constexpr double kAudioGainMax = 25.0;

  static std::atomic<int32_t> nWaterEnable;
  static std::atomic<double> dAudioGain;
  static std::atomic<int32_t> nAecParam1;
  static std::atomic<int32_t> nAecParam2;
  static std::atomic<int32_t> nUseSpeex;
  static std::atomic<int32_t> nUseDXVA2;
  static std::atomic<int32_t> nFixedDecoder;

  // The gain clamped to [1.0, 25.0]; at or below 1.0 (or not a number) it becomes 1.0.
  static double ClampAudioGain(double gain);
};

}  // namespace zp
