#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "common/CMutexLock.h"
#include "video/CDrawParams.h"
#include "zephplay.h"

struct SDL_Window;
struct SDL_Renderer;
struct SDL_Texture;
struct SDL_Surface;

namespace zp {

// After each picture (drawn or, headless, not): the set index, the window, the picture size,
// its stamp, the size it was shown at (0 x 0 without a window) and the drawing time in ms.
using DrawDisplayNotify = void (*)(uint32_t nIndex, uint64_t u64Window, uint32_t nWidth,
                                   uint32_t nHeight, uint64_t u64Stamp, uint32_t nShownWidth,
                                   uint32_t nShownHeight, uint32_t nDrawMs, void* pUser);
// Before each picture is drawn: its stamp, size, strides and the set index.
using DrawDecodeNotify = void (*)(uint64_t u64Stamp, uint32_t nWidth, uint32_t nHeight,
                                  uint32_t nYStride, uint32_t nUVStride, uint32_t nIndex,
                                  void* pUser);

// The drawing module: shows YUV 4:2:0 pictures in a caller's native window through SDL2.
//
// Threads: the setters may be called from any thread; they only store values under the module
// lock. Every SDL window, renderer and texture call happens inside Upload and Present (and the
// destructor), so a renderer is used by one thread only: the one that draws.
// Without a window every operation succeeds, DrawYUV420 draws nothing, and both notifications
// are still delivered, so headless callers get their callbacks.
// SDL's video subsystem is taken by reference count while a window is bound; a host program
// that uses SDL itself keeps its own initialisation.
class CDrawModule {
 public:
  static constexpr uint32_t kOsdCount = 8;        // text slots 0..7; the status text uses 5

  CDrawModule();
  ~CDrawModule();
  CDrawModule(const CDrawModule&) = delete;
  CDrawModule& operator=(const CDrawModule&) = delete;

  // Binds (or with null unbinds) the native window: an X11 Window id on Linux, an HWND on Windows.
  int SetHwnd(void* hWnd);
  // As SetHwnd; u64Background is the 0x00BBGGRR colour around the picture, nKeepAspect nonzero
  // keeps the picture's aspect ratio inside the play rectangle.
  int SetHwndEx(void* hWnd, uint64_t u64Background, uint32_t nKeepAspect);
  // Prepares for pictures of this size; nMode is the caller's draw mode (kept, not interpreted).
  int InitDraw(uint32_t nWidth, uint32_t nHeight, uint32_t nMode);
  int FreeDraw();
  // Upload then Present. Returns 0; -1 before InitDraw or for null planes.
  int DrawYUV420(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV, uint32_t nYStride,
                 uint32_t nUVStride, uint32_t nFlag, uint64_t u64Stamp);
  // Puts one picture of the InitDraw size into the window's texture, straight from the caller's
  // planes (no copy of ours unless colour parameters are set); the planes are not used after
  // it returns. Quick: it never waits for the display. 0; -1 before InitDraw or for null planes.
  int Upload(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV, uint32_t nYStride,
             uint32_t nUVStride, uint64_t u64Stamp);
  // Shows the last upload with the text slots, and delivers the decode notification before and
  // the display notification after. May wait for the display. 0; -1 without an upload.
  int Present();
  // Re-reads the window's size before the next draw.
  int AdjustedWnd();
  int SetIndex(uint32_t nIndex);
  int SetDisplayCB(DrawDisplayNotify pfn, void* pUser);
  int SetDecCB(DrawDecodeNotify pfn, void* pUser);
  // Text slot nIndex (< kOsdCount): null or empty text clears it. Position in window pixels,
  // colour 0x00BBGGRR (255 is red), size in pixels (0: 16), flags bit 0: a dark box behind the text.
  int SetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY, uint32_t nColor,
                 uint32_t nSize, uint32_t nFlags);
  // Play rectangle, mirror, zoom, offsets and colour: as CDrawParams.
  int SetPlayRect(const ZEPHPLAY_RECT* pRect);
  int SetMirrorMode(uint32_t nMode);
  int SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY);
  int SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart);
  int SetOffsetEnd(const ZEPHPLAY_POINT* pEnd);
  int SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation, uint32_t nHue,
                     uint32_t nReset);
  int GetColorParams(uint32_t* pBrightness, uint32_t* pContrast, uint32_t* pSaturation,
                     uint32_t* pHue);

  bool IsInitialised() const { return m_bInit; }
  uint32_t Width() const { return m_nWidth; }
  uint32_t Height() const { return m_nHeight; }
  // For tests: whether a window is being drawn into right now.
  bool HasRenderer() const { return m_pRenderer != nullptr; }

 private:
  struct Osd {
    std::string text;
    int x = 0, y = 0;
    uint32_t color = 0xFFFFFF, size = 16, flags = 0;
    SDL_Surface* pSurface = nullptr;   // rendered when set (any thread)
    SDL_Texture* pTexture = nullptr;   // made from the surface on the drawing thread
    bool bStale = false;               // the texture shows replaced text
  };
  // What Upload leaves for Present.
  struct Uploaded {
    bool bValid = false;
    bool bInTexture = false;
    uint64_t u64Stamp = 0;
    uint32_t nYStride = 0, nUVStride = 0, nUploadMs = 0;
  };

  bool EnsureWindow();
  void DestroyWindowObjects();
  bool EnsureTexture();
  void ClearOsd(Osd* pOsd);
  void UpdateTexture(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV, uint32_t nYStride,
                     uint32_t nUVStride);
  void RenderPicture();
  void RenderOsd();
  void Notify(uint64_t u64Stamp, uint32_t nYStride, uint32_t nUVStride, uint32_t nDrawMs,
              bool bDecode);

  CMutexLock m_lock;
  CMutexLock m_cbLock;
  void* m_hWnd = nullptr;
  uint32_t m_nBackground = 0;
  bool m_bWindowDirty = false;
  bool m_bSdlHeld = false;
  SDL_Window* m_pWindow = nullptr;
  SDL_Renderer* m_pRenderer = nullptr;
  SDL_Texture* m_pTexture = nullptr;
  int m_nWindowW = 0, m_nWindowH = 0;

  bool m_bInit = false;
  uint32_t m_nWidth = 0, m_nHeight = 0, m_nMode = 0;
  uint32_t m_nIndex = 0;
  Osd m_osd[kOsdCount];
  CDrawParams m_params;
  Uploaded m_uploaded;
  // Colour-adjusted planes, sized at the first draw with a colour parameter set: a player that
  // never adjusts colour (or has no window) never pays for them.
  std::vector<uint8_t> m_adjusted;

  DrawDisplayNotify m_pfnDisplay = nullptr;
  void* m_pDisplayUser = nullptr;
  DrawDecodeNotify m_pfnDecode = nullptr;
  void* m_pDecodeUser = nullptr;
};

}  // namespace zp
