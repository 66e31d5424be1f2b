#include "audio/CADECArm.h"

#include "audio/AmrCodec.h"

namespace zp {

CADECArm::CADECArm(uint32_t nCoderType) { m_nCoderType = nCoderType; }

// Closed here too: nothing gains from leaking the codec state.
CADECArm::~CADECArm() { ReleaseDecoder(); }

int CADECArm::InitDecoder(uint32_t) {
  ReleaseDecoder();
  return amr::DecodeInit(&m_hAmr) == 0 ? 1 : 0;
}

int CADECArm::ReleaseDecoder() {
  if (m_hAmr == nullptr) {
    return 0;
  }
  amr::DecodeExit(m_hAmr);
  m_hAmr = nullptr;
  return 1;
}

int CADECArm::DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) {
  // One frame is always 160 samples: a refused frame plays as silence.
  const int32_t result = amr::DecodeFrame(m_hAmr, in, len, out, 0);
  *outLen = amr::kFrameSamples;
  return result;
}

}  // namespace zp
