#pragma once
#include <cstdint>
#include <vector>

#include "audio/HiVoice.h"

namespace zp::test {

// One direction of the voice engine with its own state area, released at the end.
class VoiceCodec {
 public:
  VoiceCodec(int32_t engineType, bool encode) {
    ok_ = (encode ? HI_VOICE_EncReset(state_, engineType) : HI_VOICE_DecReset(state_, engineType)) == 0;
  }
  ~VoiceCodec() { HI_VOICE_Release(state_); }
  VoiceCodec(const VoiceCodec&) = delete;
  VoiceCodec& operator=(const VoiceCodec&) = delete;

  bool ok() const { return ok_; }

  // One unit from n samples; empty when the engine refuses.
  std::vector<uint8_t> Encode(const int16_t* in, int n) {
    std::vector<uint8_t> unit(kVoiceUnitHead + kVoiceMaxPayload);
    if (HI_VOICE_EncodeFrame(state_, in, unit.data(), n) != 0) {
      return {};
    }
    unit.resize(static_cast<size_t>(VoiceUnitLength(unit.data())));
    return unit;
  }
  // Appends the samples of one unit; false when the engine refuses.
  bool Decode(const std::vector<uint8_t>& unit, std::vector<int16_t>* out) {
    int16_t pcm[kVoiceMaxSamples];
    uint16_t n = 0;
    if (HI_VOICE_DecodeFrame(state_, unit.data(), pcm, &n) != 0) {
      return false;
    }
    out->insert(out->end(), pcm, pcm + n);
    return true;
  }

 private:
  alignas(8) uint8_t state_[kStateBytesG726] = {};
  bool ok_ = false;
};

// A unit from a payload: "00 01 LL 00" + payload (even length).
inline std::vector<uint8_t> MakeUnit(const std::vector<uint8_t>& payload) {
  std::vector<uint8_t> unit = {0x00, 0x01, static_cast<uint8_t>(payload.size() / 2), 0x00};
  unit.insert(unit.end(), payload.begin(), payload.end());
  return unit;
}

}  // namespace zp::test
