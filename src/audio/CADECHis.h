#pragma once
#include "audio/CADEC.h"
#include "audio/HiVoice.h"

namespace zp {

// The recorders' voice-engine units ("00 01 LL CC" + payload): G.711, G.726, DVI4, IMA.
class CADECHis : public CADEC {
 public:
  explicit CADECHis(uint32_t nCoderType);
  ~CADECHis() override = default;
  int InitDecoder(uint32_t nFrmLen) override;
  int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) override;
  bool IsHisFrame() override { return true; }
  // One unit ("00 01 LL CC" + 2 x LL bytes); the rest when data does not start a unit.
  uint32_t GetFrameSize(const uint8_t* data, uint32_t len) override;

  // The engine type for a coder type, 0 when there is none.
  static int32_t EngineTypeOf(uint32_t nCoderType);

 private:
  VoiceStates m_States;
  uint8_t* m_pState = nullptr;
};

}  // namespace zp
