#include "video/CVDEC.h"

#include "common/CAutoLock.h"

namespace zp {

int CVDEC::CaptureBMP(const char* pPath) { return m_decodeData.CaptureBMP(pPath); }

int CVDEC::CaptureJPEG(const char* pPath) { return m_decodeData.CaptureJPEG(pPath); }

bool CVDEC::GetPicture(PictureInfo* pOut) {
  CAutoLock lock(m_decodeData.Lock());
  return pOut != nullptr && m_decodeData.GetFrameInfo(pOut);
}

int CVDEC::UnInit() {
  m_decodeData.SetPicture(kPictureNone, nullptr, 0);
  FreeCodec();
  m_nInit = 0;
  return 0;
}

bool CVDEC::PassesKeyWait(uint32_t nType) {
  if (m_nWaitKey == 0) {
    return true;
  }
  if (!IsKeyFrame(nType)) {
    return false;
  }
  m_nWaitKey = 0;
  return true;
}

void CVDEC::SetDecCallBack(uint64_t u64User, ZEPHPLAY_DecCallBack pfn) {
  CAutoLock lock(&m_cbLock);
  m_pfnDecCallBack = pfn;
  m_u64DecUser = u64User;
}

void CVDEC::SetSizeCallBack(ZEPHPLAY_SizeCallBack pfn, uint64_t u64User) {
  CAutoLock lock(&m_cbLock);
  m_pfnSizeCallBack = pfn;
  m_u64SizeUser = u64User;
}

void CVDEC::SetPictureClass(uint8_t nClass) {
  m_u8PicClass = (nClass == 4 || nClass == 5 || nClass == 6) ? nClass : 2;
}

void CVDEC::SetSize(uint32_t nWidth, uint32_t nHeight) {
  if (nWidth == m_nWidth && nHeight == m_nHeight) {
    return;
  }
  m_nWidth = nWidth;
  m_nHeight = nHeight;
  CAutoLock lock(&m_cbLock);
  if (m_pfnSizeCallBack != nullptr) {
    m_pfnSizeCallBack(static_cast<int32_t>(nWidth), static_cast<int32_t>(nHeight), m_u64SizeUser);
  }
}

void CVDEC::DeliverPicture(PictureKind kind, const void* record, const PictureInfo& picture,
                           const int32_t strides[3], uint64_t u64Stamp) {
  m_decodeData.SetPicture(kind, record, u64Stamp);
  CAutoLock lock(&m_cbLock);
  if (m_pfnDecCallBack != nullptr) {
    m_pfnDecCallBack(m_u64DecUser, picture.pY, picture.pU, picture.pV, strides[0], strides[1],
                     strides[2], static_cast<int32_t>(picture.nWidth),
                     static_cast<int32_t>(picture.nHeight), u64Stamp);
  }
}

void CVDEC::DeliverPicture(PictureKind kind, const void* record, const PictureInfo& picture) {
  const int32_t strides[3] = {static_cast<int32_t>(picture.nYStride),
                              static_cast<int32_t>(picture.nUVStride),
                              static_cast<int32_t>(picture.nUVStride)};
  DeliverPicture(kind, record, picture, strides, picture.u64Stamp);
}

}  // namespace zp
