#include "audio/CADECPcm.h"

#include <cstring>

namespace zp {

CADECPcm::CADECPcm(uint32_t nCoderType) {
  m_nCoderType = nCoderType;
  SetWaveFormat(1, nCoderType == 21 ? 16000 : 8000, 16);
}

int CADECPcm::InitDecoder(uint32_t) { return 1; }

int CADECPcm::DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) {
  *outLen = 0;
  // The output holds GetOutSize() bytes; the stand-alone decoder cuts longer buffers.
  if (in == nullptr || len <= 0 || len > GetOutSize()) {
    return 0;
  }
  std::memcpy(out, in, static_cast<size_t>(len));
  *outLen = static_cast<uint16_t>(len / 2);
  return 1;
}

}  // namespace zp
