#include "audio/CAENCArm.h"

#include <cstring>

#include "audio/AmrCodec.h"

namespace zp {

CAENCArm::~CAENCArm() { Release(); }

void CAENCArm::Release() {
  if (m_hHandle != nullptr) {
    amr::EncodeExit(m_hHandle);
    m_hHandle = nullptr;
  }
}

int CAENCArm::InitEncoder() {
  Release();
  return amr::EncodeInit(&m_hHandle, 0) == 0 ? 1 : 0;
}

int CAENCArm::EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) {
  *outLen = 0;
  // The codec reads a whole frame; a shorter input would be read past its end.
  if (m_hHandle == nullptr || inLen < amr::kFrameSamples * 2) {
    return 0;
  }
  int16_t pcm[amr::kFrameSamples];
  std::memcpy(pcm, in, sizeof(pcm));
  const int32_t bytes = amr::EncodeFrame(m_hHandle, pcm, out, kMode);
  if (bytes < 0) {
    return 0;
  }
  *outLen = static_cast<uint32_t>(bytes);
  return 1;
}

}  // namespace zp
