#include "video/CDrawParams.h"

#include <algorithm>
#include <cmath>

namespace zp {

namespace {

uint8_t Clamp8(int v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

}  // namespace

int CDrawParams::SetPlayRect(const ZEPHPLAY_RECT* pRect) {
  if (pRect == nullptr) {
    m_bPlayRect = false;
    return 0;
  }
  if (pRect->right <= pRect->left || pRect->bottom <= pRect->top) {
    return -1;
  }
  m_playRect = *pRect;
  m_bPlayRect = true;
  return 0;
}

int CDrawParams::SetMirrorMode(uint32_t nMode) {
  if (nMode > 3) {
    return -1;
  }
  m_nMirror = nMode;
  return 0;
}

int CDrawParams::SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY) {
  if (nPercent == 0) {
    nPercent = 100;
  }
  if (nPercent < 100 || nPercent > kZoomMaxPercent) {
    return -1;
  }
  m_nZoom = nPercent;
  m_nZoomX = nCenterX;
  m_nZoomY = nCenterY;
  return 0;
}

int CDrawParams::SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart) {
  if (nEnable == 0) {
    m_bOffsets = false;
    return 0;
  }
  if (pStart == nullptr || pStart->x < 0 || pStart->y < 0) {
    return -1;
  }
  m_offStart = *pStart;
  m_bOffsets = true;
  return 0;
}

int CDrawParams::SetOffsetEnd(const ZEPHPLAY_POINT* pEnd) {
  if (pEnd == nullptr || pEnd->x < 0 || pEnd->y < 0) {
    return -1;
  }
  m_offEnd = *pEnd;
  return 0;
}

int CDrawParams::SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                                uint32_t nHue, uint32_t nReset) {
  if (nReset != 0) {
    m_nBrightness = m_nContrast = m_nSaturation = m_nHue = kColorDefault;
    return 0;
  }
  if (nBrightness > 100 || nContrast > 100 || nSaturation > 100 || nHue > 100) {
    return -1;
  }
  m_nBrightness = nBrightness;
  m_nContrast = nContrast;
  m_nSaturation = nSaturation;
  m_nHue = nHue;
  return 0;
}

void CDrawParams::GetColorParams(uint32_t* pBrightness, uint32_t* pContrast,
                                 uint32_t* pSaturation, uint32_t* pHue) const {
  *pBrightness = m_nBrightness;
  *pContrast = m_nContrast;
  *pSaturation = m_nSaturation;
  *pHue = m_nHue;
}

bool CDrawParams::ColorNeutral() const {
  return m_nBrightness == kColorDefault && m_nContrast == kColorDefault &&
         m_nSaturation == kColorDefault && m_nHue == kColorDefault;
}

void CDrawParams::ApplyColor(const PictureInfo& in, uint8_t* pOut) const {
  const int offset = (static_cast<int>(m_nBrightness) - 50) * 128 / 50;
  const int contrast = static_cast<int>(m_nContrast) * 256 / 50;
  uint8_t lumaMap[256];
  for (int i = 0; i < 256; ++i) {
    lumaMap[i] = Clamp8((((i - 16) * contrast) >> 8) + 16 + offset);
  }
  for (uint32_t row = 0; row < in.nHeight; ++row) {
    const uint8_t* y = in.pY + static_cast<size_t>(row) * in.nYStride;
    for (uint32_t x = 0; x < in.nWidth; ++x) {
      *pOut++ = lumaMap[y[x]];
    }
  }
  const double angle = (static_cast<double>(m_nHue) - 50.0) * M_PI / 50.0;
  const double sat = m_nSaturation / 50.0;
  const int cosA = static_cast<int>(std::lround(std::cos(angle) * sat * 256));
  const int sinA = static_cast<int>(std::lround(std::sin(angle) * sat * 256));
  const uint32_t cw = (in.nWidth + 1) / 2;
  const uint32_t ch = (in.nHeight + 1) / 2;
  uint8_t* outU = pOut;
  uint8_t* outV = outU + static_cast<size_t>(cw) * ch;
  for (uint32_t row = 0; row < ch; ++row) {
    const uint8_t* inU = in.pU + static_cast<size_t>(row) * in.nUVStride;
    const uint8_t* inV = in.pV + static_cast<size_t>(row) * in.nUVStride;
    for (uint32_t x = 0; x < cw; ++x) {
      const int u = inU[x] - 128;
      const int v = inV[x] - 128;
      *outU++ = Clamp8(((u * cosA - v * sinA) >> 8) + 128);
      *outV++ = Clamp8(((u * sinA + v * cosA) >> 8) + 128);
    }
  }
}

CDrawParams::Rect CDrawParams::SourceRect(uint32_t nWidth, uint32_t nHeight) const {
  Rect r{0, 0, static_cast<int>(nWidth), static_cast<int>(nHeight)};
  if (m_bOffsets) {
    const int w = r.w - m_offStart.x - m_offEnd.x;
    const int h = r.h - m_offStart.y - m_offEnd.y;
    if (w >= 2 && h >= 2) {
      r = {m_offStart.x, m_offStart.y, w, h};
    }
  }
  if (m_nZoom > 100) {
    const int zw = std::max(1, static_cast<int>(static_cast<int64_t>(r.w) * 100 / m_nZoom));
    const int zh = std::max(1, static_cast<int>(static_cast<int64_t>(r.h) * 100 / m_nZoom));
    const bool centred = m_nZoomX == 0 && m_nZoomY == 0;
    const int cx = centred ? r.x + r.w / 2 : static_cast<int>(std::min<uint32_t>(m_nZoomX, 65535));
    const int cy = centred ? r.y + r.h / 2 : static_cast<int>(std::min<uint32_t>(m_nZoomY, 65535));
    const int left = std::clamp(cx - zw / 2, r.x, r.x + r.w - zw);
    const int top = std::clamp(cy - zh / 2, r.y, r.y + r.h - zh);
    r = {left, top, zw, zh};
  }
  return r;
}

CDrawParams::Rect CDrawParams::TargetRect(const Rect& src, int nWindowW, int nWindowH) const {
  Rect r{0, 0, nWindowW, nWindowH};
  if (m_bPlayRect) {
    const int left = std::clamp(m_playRect.left, 0, nWindowW);
    const int top = std::clamp(m_playRect.top, 0, nWindowH);
    const int right = std::clamp(m_playRect.right, left, nWindowW);
    const int bottom = std::clamp(m_playRect.bottom, top, nWindowH);
    r = {left, top, right - left, bottom - top};
  }
  if (m_bKeepAspect && src.w > 0 && src.h > 0 && r.w > 0 && r.h > 0) {
    const int64_t byWidth = static_cast<int64_t>(r.w) * src.h / src.w;
    if (byWidth <= r.h) {
      r = {r.x, r.y + (r.h - static_cast<int>(byWidth)) / 2, r.w, static_cast<int>(byWidth)};
    } else {
      const int w = static_cast<int>(static_cast<int64_t>(r.h) * src.w / src.h);
      r = {r.x + (r.w - w) / 2, r.y, w, r.h};
    }
  }
  return r;
}

}  // namespace zp
