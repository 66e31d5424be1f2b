#pragma once
#include "audio/CAENC.h"
#include "audio/HiVoice.h"

namespace zp {

// The recorders' voice-engine units ("00 01 LL CC" + payload): G.711, G.726, DVI4 and IMA.
// Coder type 16 (IMA) is cut into 161-sample units of its own: 322 bytes are gathered across
// calls and at most one unit comes out per call.
class CAENCHis : public CAENC {
 public:
  static constexpr uint32_t kImaFrameBytes = 322;
  static constexpr uint32_t kImaBufferBytes = 1024;

  explicit CAENCHis(uint32_t nCoderType) : CAENC(nCoderType) {}
  ~CAENCHis() override = default;
  int InitEncoder() override;
  int EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) override;

 private:
  int EncodeHeldFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen);
  bool EncodeUnit(const uint8_t* pcm, uint32_t samples, uint8_t* out, uint32_t* outLen);
  void Hold(const uint8_t* in, uint32_t len);

  VoiceStates m_States;
  uint8_t* m_pState = nullptr;
  int16_t m_Pcm[kVoiceMaxSamples] = {};  // the input, aligned for the engine
};

}  // namespace zp
