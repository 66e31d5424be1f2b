#pragma once
#include <cstdint>

#include "video/PictureInfo.h"
#include "zephplay.h"

namespace zp {

// The drawing module's parameters that are plain numbers, and the arithmetic on them: which
// part of the picture is shown (crop offsets, zoom), where it goes in the window (play
// rectangle, aspect), the mirror, and the colour adjustment. No SDL and no locks: CDrawModule
// keeps one under its own lock. Setters answer 0, or -1 for values they refuse (then nothing
// changes).
class CDrawParams {
 public:
  static constexpr uint32_t kColorDefault = 50;   // every colour parameter: 0..100, neutral 50
  static constexpr uint32_t kZoomMaxPercent = 800;

  struct Rect {
    int x = 0, y = 0, w = 0, h = 0;
    bool operator==(const Rect&) const = default;
  };

  // Null: the whole window.
  int SetPlayRect(const ZEPHPLAY_RECT* pRect);
  // 0 none, 1 left-right, 2 upside down, 3 both.
  int SetMirrorMode(uint32_t nMode);
  // nPercent 0 or 100: off; up to kZoomMaxPercent around the picture point (nCenterX, nCenterY),
  // (0, 0) meaning the centre of the shown part.
  int SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY);
  // Cropping: nEnable with the pixels cut at the left and top / at the right and bottom.
  int SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart);
  int SetOffsetEnd(const ZEPHPLAY_POINT* pEnd);
  // nReset nonzero restores the defaults and ignores the four values.
  int SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation, uint32_t nHue,
                     uint32_t nReset);
  void GetColorParams(uint32_t* pBrightness, uint32_t* pContrast, uint32_t* pSaturation,
                      uint32_t* pHue) const;
  void SetKeepAspect(bool bKeep) { m_bKeepAspect = bKeep; }

  // The part of a nWidth x nHeight picture that is shown. Offsets that leave less than 2 x 2
  // are ignored; a zoomed part stays inside the picture.
  Rect SourceRect(uint32_t nWidth, uint32_t nHeight) const;
  // Where src is drawn in a window of nWindowW x nWindowH: the play rectangle clipped to the
  // window, narrowed to src's aspect ratio when that is kept.
  Rect TargetRect(const Rect& src, int nWindowW, int nWindowH) const;
  bool MirrorLeftRight() const { return (m_nMirror & 1) != 0; }
  bool MirrorUpsideDown() const { return (m_nMirror & 2) != 0; }
  bool ColorNeutral() const;
  // The colour-adjusted picture as packed 4:2:0 planes into pOut, which holds
  // w * h + 2 * ((w + 1) / 2) * ((h + 1) / 2) bytes. Brightness shifts luma by up to +-128,
  // contrast scales it around 16 by 0..2, saturation scales chroma by 0..2 and hue turns it by
  // -180..180 degrees.
  void ApplyColor(const PictureInfo& in, uint8_t* pOut) const;

 private:
  bool m_bKeepAspect = false;
  bool m_bPlayRect = false;
  ZEPHPLAY_RECT m_playRect{};
  uint32_t m_nMirror = 0;
  uint32_t m_nZoom = 100, m_nZoomX = 0, m_nZoomY = 0;
  bool m_bOffsets = false;
  ZEPHPLAY_POINT m_offStart{}, m_offEnd{};
  uint32_t m_nBrightness = kColorDefault, m_nContrast = kColorDefault;
  uint32_t m_nSaturation = kColorDefault, m_nHue = kColorDefault;
};

}  // namespace zp
