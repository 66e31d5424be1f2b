#include "audio/CAENC.h"

#include <cstring>
#include <new>

#include "audio/CADEC.h"
#include "audio/CAENCAac.h"
#include "audio/CAENCArm.h"
#include "audio/CAENCHis.h"
#include "audio/CAENG711.h"
#include "audio/CAENPcm.h"

namespace zp {

CAENC::CAENC(uint32_t nCoderType) : m_nCoderType(nCoderType) {}

CAENC::~CAENC() = default;

bool CAENC::ResetBuffer(uint32_t size) {
  m_pBuffer.reset(new (std::nothrow) uint8_t[size]);
  m_nHeld = 0;
  if (m_pBuffer == nullptr) {
    m_nBufferSize = 0;
    return false;
  }
  std::memset(m_pBuffer.get(), 0, size);
  m_nBufferSize = size;
  return true;
}

CAENC* CAENC::S_InitAudioEncoder(uint32_t nCoderType) {
  if (CADEC::AacRateOfCoder(nCoderType) != 0) {
    return new (std::nothrow) CAENCAac(nCoderType);
  }
  switch (nCoderType) {
    case 14:
      return new (std::nothrow) CAENCArm(nCoderType);
    case 17:
    case 18:
      return new (std::nothrow) CAENG711(nCoderType);
    case 20:
    case 21:
      return new (std::nothrow) CAENPcm(nCoderType);
    default:
      // Voice-engine types; any other type gets one too, whose InitEncoder then fails.
      return new (std::nothrow) CAENCHis(nCoderType);
  }
}

}  // namespace zp
