#include "audio/CAENCHis.h"

#include <cstring>

#include "audio/CADECHis.h"
#include "common/ByteOrder.h"
#include "common/LogAccess.h"

namespace zp {

int CAENCHis::InitEncoder() {
  // Type 0 decodes as G.726, but nothing is ever encoded to it.
  const int32_t engine = m_nCoderType == 0 ? 0 : CADECHis::EngineTypeOf(m_nCoderType);
  LogInfo("%s CoderType:%d, HiCodeType:%d", "CAENCHis::InitEncoder", static_cast<int>(m_nCoderType), engine);
  if (engine == 0) {
    return 0;
  }
  m_pState = m_States.For(engine);
  if (m_nCoderType == 16) {
    m_nFrameSize = kImaFrameBytes;
    if (!ResetBuffer(kImaBufferBytes)) {
      return 0;
    }
  }
  return HI_VOICE_EncReset(m_pState, engine) == 0 ? 1 : 0;
}

bool CAENCHis::EncodeUnit(const uint8_t* pcm, uint32_t samples, uint8_t* out, uint32_t* outLen) {
  if (m_pState == nullptr || samples > kVoiceMaxSamples) {
    return false;
  }
  std::memcpy(m_Pcm, pcm, samples * 2);
  if (HI_VOICE_EncodeFrame(m_pState, m_Pcm, out, static_cast<int32_t>(samples)) != 0) {
    return false;
  }
  *outLen = kVoiceUnitHead + 2u * ReadU16(out + 2);
  return true;
}

int CAENCHis::EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) {
  *outLen = 0;
  if (m_nCoderType == 16) {
    return EncodeHeldFrame(in, inLen, out, outLen);
  }
  return EncodeUnit(in, inLen / 2, out, outLen) ? 1 : 0;
}

int CAENCHis::EncodeHeldFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) {
  if (m_pBuffer == nullptr) {
    return 0;
  }
  uint32_t used = 0;
  bool produced = false;
  if (m_nHeld + inLen >= m_nFrameSize) {
    if (m_nHeld < m_nFrameSize) {
      used = m_nFrameSize - m_nHeld;
      std::memcpy(m_pBuffer.get() + m_nHeld, in, used);
      m_nHeld = m_nFrameSize;
    }
    produced = EncodeUnit(m_pBuffer.get(), m_nFrameSize / 2, out, outLen);
    // Large pieces can leave more than a frame held; the surplus moves up for the next call.
    m_nHeld -= m_nFrameSize;
    std::memmove(m_pBuffer.get(), m_pBuffer.get() + m_nFrameSize, m_nHeld);
  }
  Hold(in + used, inLen - used);
  return produced ? 1 : 0;
}

void CAENCHis::Hold(const uint8_t* in, uint32_t len) {
  const uint32_t room = m_nBufferSize - m_nHeld;
  if (len > room) {
    LogError("%s %d bytes dropped", "CAENCHis::EncoderFrame", static_cast<int>(len - room));
    len = room;
  }
  std::memcpy(m_pBuffer.get() + m_nHeld, in, len);
  m_nHeld += len;
}

}  // namespace zp
