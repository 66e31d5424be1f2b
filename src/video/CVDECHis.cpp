#include "video/CVDECHis.h"

#include "common/CAutoLock.h"
#include "common/LogAccess.h"

namespace zp {

CVDECHis::~CVDECHis() { UnInit(); }

void CVDECHis::LimitsFor(uint8_t nClass, uint32_t* pWidthMB, uint32_t* pHeightMB) {
  switch (nClass) {
    case 5:
      *pWidthMB = 88;
      *pHeightMB = 52;
      break;
    case 6:
      *pWidthMB = 128;
      *pHeightMB = 72;
      break;
    default:
      *pWidthMB = 48;
      *pHeightMB = 40;
      break;
  }
}

uint32_t CVDECHis::InitDecoder(uint32_t /*nFlag*/) {
  if (m_nInit != 0) {
    return m_nInit;
  }
  HI264DEC_ATTR attr{};
  attr.uPictureFormat = 0;
  attr.uStreamInType = 0;
  LimitsFor(m_u8PicClass, &attr.uPicWidthInMB, &attr.uPicHeightInMB);
  attr.uBufNum = 2;
  attr.uWorkMode = 0;
  attr.pUserData = nullptr;
  m_hDecoder = Hi264DecCreate(&attr);
  if (m_hDecoder == nullptr) {
    LogError("%s Hi264DecCreate fail", "CVDECHis::InitDecoder");
    return m_nInit;
  }
  m_nInit = 1;
  m_nWaitKey = 1;
  return m_nInit;
}

int CVDECHis::DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                             uint64_t u64Stamp) {
  if (m_nInit == 0) {
    InitDecoder(0);
  }
  if (m_nInit == 0 || pData == nullptr || nLength == 0) {
    return 0;
  }
  if (!PassesKeyWait(nType)) {
    return 0;
  }
  int32_t result = DecodeLocked(pData, nLength);
  if (result == HI264DEC_NEED_MORE_BITS || result == HI264DEC_NO_PICTURE) {
    return 0;
  }
  int delivered = 0;
  if (result == HI264DEC_OK) {
    Deliver(u64Stamp);
    delivered = 1;
  }
  while (DecodeLocked(nullptr, 0) == HI264DEC_OK) {
    Deliver(u64Stamp);
    delivered = 1;
  }
  return delivered;
}

// The decoder frees the current picture's planes when it puts out the next one, so the call
// runs under the picture lock that captures on other threads take.
int32_t CVDECHis::DecodeLocked(const uint8_t* pData, uint32_t nLength) {
  CAutoLock lock(m_decodeData.Lock());
  const int32_t result = Hi264DecFrame(m_hDecoder, pData, nLength, 0, &m_outFrame, 0);
  if (result == HI264DEC_OK) {
    m_picture = m_outFrame;
  }
  return result;
}

void CVDECHis::Deliver(uint64_t u64Stamp) {
  SetSize(m_picture.uWidth, m_picture.uHeight);
  const PictureInfo picture{.nKey = m_picture.bIsKeyFrame,
                            .nWidth = m_picture.uWidth,
                            .nHeight = m_picture.uHeight,
                            .pY = m_picture.pY,
                            .nYStride = m_picture.uYStride,
                            .pU = m_picture.pU,
                            .pV = m_picture.pV,
                            .nUVStride = m_picture.uUVStride,
                            .u64Stamp = u64Stamp};
  DeliverPicture(kPictureHi264, &m_picture, picture);
}

void CVDECHis::FreeCodec() {
  if (m_hDecoder != nullptr) {
    Hi264DecDestroy(m_hDecoder);
    m_hDecoder = nullptr;
  }
}

}  // namespace zp
