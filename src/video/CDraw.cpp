#include "video/CDraw.h"

#include "common/Settings.h"

namespace zp {

CDraw::CDraw() : m_pDraw(new CDrawModule()) {}

CDraw::~CDraw() { delete m_pDraw; }

int CDraw::InitDraw(uint32_t nWidth, uint32_t nHeight) {
  const int result = m_pDraw->InitDraw(nWidth, nHeight, m_nDrawMode);
  if (result == 0) {
    m_bInit = true;
    m_nWidth = nWidth;
    m_nHeight = nHeight;
  }
  return result;
}

int CDraw::FreeDraw() {
  const int result = m_pDraw->FreeDraw();
  m_bInit = false;
  m_nWidth = 0;
  m_nHeight = 0;
  return result;
}

int CDraw::SetHwnd(void* hWnd) { return m_pDraw->SetHwnd(hWnd); }

int CDraw::SetHwndEx(void* hWnd, uint64_t u64Value, uint32_t nValue) {
  return m_pDraw->SetHwndEx(hWnd, u64Value, nValue);
}

int CDraw::AdjustedWnd() { return m_pDraw->AdjustedWnd(); }

int CDraw::SetDisplayCB(DrawDisplayNotify pfn, void* pPlayer) {
  return m_pDraw->SetDisplayCB(pfn, pPlayer);
}

int CDraw::SetDecCB(DrawDecodeNotify pfn, void* pPlayer) { return m_pDraw->SetDecCB(pfn, pPlayer); }

int CDraw::SetIndex(uint32_t nIndex) { return m_pDraw->SetIndex(nIndex); }

int CDraw::DrawYUV420(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV, uint32_t nYStride,
                      uint32_t nUVStride, uint32_t nFlag, uint64_t u64Stamp) {
  if (Settings::nWaterEnable.load(std::memory_order_relaxed) != 0) {
    m_pDraw->AdjustedWnd();
  }
  return m_pDraw->DrawYUV420(pY, pU, pV, nYStride, nUVStride, nFlag, u64Stamp);
}

int CDraw::Upload(const PictureInfo& picture) {
  if (Settings::nWaterEnable.load(std::memory_order_relaxed) != 0) {
    m_pDraw->AdjustedWnd();
  }
  return m_pDraw->Upload(picture.pY, picture.pU, picture.pV, picture.nYStride,
                         picture.nUVStride, picture.u64Stamp);
}

int CDraw::Present() { return m_pDraw->Present(); }

int CDraw::SetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY,
                      uint32_t nColor, uint32_t nSize, uint32_t nFlags) {
  return m_pDraw->SetOSDText(nIndex, pText, nX, nY, nColor, nSize, nFlags);
}

int CDraw::SetStatusText(const char* pText, bool bHighlight) {
  return m_pDraw->SetOSDText(5, pText, 20, 10, bHighlight ? 0xFFFFFF : 255, 0, 0);
}

int CDraw::SetPlayRect(const ZEPHPLAY_RECT* pRect) { return m_pDraw->SetPlayRect(pRect); }

int CDraw::SetMirrorMode(uint32_t nMode) { return m_pDraw->SetMirrorMode(nMode); }

int CDraw::SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY) {
  return m_pDraw->SetZoom(nPercent, nCenterX, nCenterY);
}

int CDraw::SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart) {
  return m_pDraw->SetOffsetStart(nEnable, pStart);
}

int CDraw::SetOffsetEnd(const ZEPHPLAY_POINT* pEnd) { return m_pDraw->SetOffsetEnd(pEnd); }

int CDraw::SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                          uint32_t nHue, uint32_t nReset) {
  return m_pDraw->SetColorParams(nBrightness, nContrast, nSaturation, nHue, nReset);
}

int CDraw::GetColorParams(uint32_t* pBrightness, uint32_t* pContrast, uint32_t* pSaturation,
                          uint32_t* pHue) {
  return m_pDraw->GetColorParams(pBrightness, pContrast, pSaturation, pHue);
}

}  // namespace zp
