#include "common/Settings.h"

namespace zp {

std::atomic<int32_t> Settings::nWaterEnable{0};
std::atomic<double> Settings::dAudioGain{1.0};
std::atomic<int32_t> Settings::nAecParam1{0};
std::atomic<int32_t> Settings::nAecParam2{109};
std::atomic<int32_t> Settings::nUseSpeex{0};
std::atomic<int32_t> Settings::nUseDXVA2{1};
std::atomic<int32_t> Settings::nFixedDecoder{-1};

double Settings::ClampAudioGain(double gain) {
  if (gain > kAudioGainMax) {
    return kAudioGainMax;
  }
  if (!(gain > kAudioGainMin)) {
    return kAudioGainMin;
  }
  return gain;
}

}  // namespace zp
