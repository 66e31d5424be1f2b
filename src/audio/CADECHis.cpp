#include "audio/CADECHis.h"

#include "common/LogAccess.h"

namespace zp {

CADECHis::CADECHis(uint32_t nCoderType) { m_nCoderType = nCoderType; }

int32_t CADECHis::EngineTypeOf(uint32_t nCoderType) {
  static constexpr int32_t kEngine[12] = {kVoiceG726Le40,  kVoiceG726Le40,  kVoiceDvi4,      kVoiceG726Asf40,
                                          kVoiceG726Asf32, kVoiceG726Asf24, kVoiceG726Asf16, kVoiceG726Le32,
                                          kVoiceG726Le24,  kVoiceG726Le16,  kVoiceG711A,     kVoiceG711U};
  if (nCoderType < 12) {
    return kEngine[nCoderType];
  }
  return nCoderType == 16 ? kVoiceIma : 0;
}

int CADECHis::InitDecoder(uint32_t) {
  const int32_t engine = EngineTypeOf(m_nCoderType);
  LogInfo("%s CoderType:%d, HiCodeType:%d", "CADECHis::InitDecoder", static_cast<int>(m_nCoderType), engine);
  if (engine == 0) {
    return 0;
  }
  m_pState = m_States.For(engine);
  return HI_VOICE_DecReset(m_pState, engine) == 0 ? 1 : 0;
}

int CADECHis::DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) {
  *outLen = 0;
  if (m_pState == nullptr || in == nullptr || len < kVoiceUnitHead || in[0] != 0x00 || in[1] != 0x01) {
    return 0;
  }
  // The engine trusts the unit's length byte; a unit that claims more than it brought is refused.
  if (VoiceUnitLength(in) > len) {
    return 0;
  }
  uint16_t samples = 0;
  if (HI_VOICE_DecodeFrame(m_pState, in, out, &samples) != 0) {
    return 0;
  }
  if (samples == 160) {
    SetPacing(50, 20);
  } else {
    SetPacing(25, 40);
  }
  *outLen = static_cast<uint16_t>(samples - samples % 10);
  return 1;
}

}  // namespace zp

namespace zp {

uint32_t CADECHis::GetFrameSize(const uint8_t* data, uint32_t len) {
  if (len < kVoiceUnitHead || data[0] != 0x00 || data[1] != 0x01) {
    return len;
  }
  return static_cast<uint32_t>(VoiceUnitLength(data));
}

}  // namespace zp
