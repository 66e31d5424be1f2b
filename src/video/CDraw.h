#pragma once
#include <cstdint>

#include "video/CDrawModule.h"
#include "video/IPictureOutput.h"

namespace zp {

// The player's drawing adapter: a thin wrapper over one drawing-module object (CDrawModule).
// A player owns one; CVideoDecodeData initialises it for the picture size and draws through it
// (IPictureOutput). Results are the module's: 0 success, -1 refused. Threads as for
// CDrawModule: setters from any thread, drawing from the player's thread.
class CDraw : public IPictureOutput {
 public:
  CDraw();
  ~CDraw() override;
  CDraw(const CDraw&) = delete;
  CDraw& operator=(const CDraw&) = delete;

  int InitDraw(uint32_t nWidth, uint32_t nHeight) override;
  int FreeDraw() override;
  bool IsInit() const override { return m_bInit; }
  uint32_t Width() const override { return m_nWidth; }
  uint32_t Height() const override { return m_nHeight; }
  // The picture into the window's texture, then shown (the module's Upload and Present).
  int Upload(const PictureInfo& picture) override;
  int Present() override;
  // The file player's draw mode, handed to the module at InitDraw.
  void SetDrawMode(uint32_t nMode) { m_nDrawMode = nMode; }

  int SetHwnd(void* hWnd);
  int SetHwndEx(void* hWnd, uint64_t u64Value, uint32_t nValue);
  int AdjustedWnd();
  int SetDisplayCB(DrawDisplayNotify pfn, void* pPlayer);
  int SetDecCB(DrawDecodeNotify pfn, void* pPlayer);
  int SetIndex(uint32_t nIndex);
  // Upload and Present in one. With the water-mark setting on, the module re-reads the window
  // before each picture.
  int DrawYUV420(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV, uint32_t nYStride,
                 uint32_t nUVStride, uint32_t nFlag, uint64_t u64Stamp);
  int SetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY, uint32_t nColor,
                 uint32_t nSize, uint32_t nFlags);
  // The status line: text slot 5 at (20, 10), white (0xFFFFFF) when bHighlight is set,
  // else red (255).
  int SetStatusText(const char* pText, bool bHighlight);
  int SetPlayRect(const ZEPHPLAY_RECT* pRect);
  int SetMirrorMode(uint32_t nMode);
  int SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY);
  int SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart);
  int SetOffsetEnd(const ZEPHPLAY_POINT* pEnd);
  int SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation, uint32_t nHue,
                     uint32_t nReset);
  int GetColorParams(uint32_t* pBrightness, uint32_t* pContrast, uint32_t* pSaturation,
                     uint32_t* pHue);

  CDrawModule* Module() { return m_pDraw; }

 private:
  CDrawModule* m_pDraw;
  uint32_t m_nDrawMode = 0;
  bool m_bInit = false;
  uint32_t m_nHeight = 0;
  uint32_t m_nWidth = 0;
};

}  // namespace zp
