#include "video/CDrawModule.h"

#include <SDL2/SDL.h>
#include <SDL2/SDL_ttf.h>

#include <algorithm>
#include <mutex>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "platform/Tick.h"

namespace zp {

namespace {

// SDL's video subsystem and SDL_ttf are shared with whatever else in the process uses them:
// each is initialised on our first user and released after our last, never SDL_Quit.
std::mutex g_sdlMutex;
int g_nVideoUsers = 0;
int g_nTtfUsers = 0;

bool AcquireVideo() {
  std::lock_guard<std::mutex> guard(g_sdlMutex);
  if (g_nVideoUsers == 0) {
    if (SDL_WasInit(0) == 0) {
      // A host that initialises SDL itself chooses its own signal handling.
      SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    }
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
      LogError("%s SDL video: %s", "CDrawModule::AcquireVideo", SDL_GetError());
      return false;
    }
  }
  ++g_nVideoUsers;
  return true;
}

void ReleaseVideo() {
  std::lock_guard<std::mutex> guard(g_sdlMutex);
  if (g_nVideoUsers > 0 && --g_nVideoUsers == 0) {
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
}

// The caller's window as an SDL window with its renderer: with OpenGL where the system has it
// (a renderer that converts and scales on the graphics card), else for SDL's software renderer.
// The hint that asks for OpenGL is process-wide, so the host's own value is put back at once.
// Under the SDL mutex: SDL's window list and its OpenGL loading are not guarded, and every
// player adopts its window on its own play thread.
SDL_Renderer* RendererOnForeign(void* hWnd, SDL_Window** ppWindow) {
  std::lock_guard<std::mutex> guard(g_sdlMutex);
  const char* current = SDL_GetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL);
  const bool hostSet = current != nullptr;
  const std::string hostValue = hostSet ? current : "";
  SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, "1");
  SDL_Window* window = SDL_CreateWindowFrom(hWnd);
  if (window == nullptr) {
    SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, "0");
    window = SDL_CreateWindowFrom(hWnd);
  }
  SDL_SetHint(SDL_HINT_VIDEO_FOREIGN_WINDOW_OPENGL, hostSet ? hostValue.c_str() : nullptr);
  *ppWindow = window;
  if (window == nullptr) {
    LogError("%s SDL_CreateWindowFrom: %s", "CDrawModule::EnsureWindow", SDL_GetError());
    return nullptr;
  }
  SDL_Renderer* renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_ACCELERATED);
  if (renderer == nullptr) {
    renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_SOFTWARE);
  }
  if (renderer == nullptr) {
    LogError("%s SDL_CreateRenderer: %s", "CDrawModule::EnsureWindow", SDL_GetError());
  }
  return renderer;
}

// The counterpart, under the same mutex.
void DestroyOnForeign(SDL_Renderer* pRenderer, SDL_Window* pWindow) {
  std::lock_guard<std::mutex> guard(g_sdlMutex);
  if (pRenderer != nullptr) {
    SDL_DestroyRenderer(pRenderer);
  }
  if (pWindow != nullptr) {
    SDL_DestroyWindow(pWindow);  // a foreign window stays; only SDL's record of it goes
  }
}

// FreeType is not safe for concurrent use, so every font call runs under the SDL mutex.
SDL_Surface* RenderText(const std::string& text, uint32_t size, uint32_t color) {
  std::lock_guard<std::mutex> guard(g_sdlMutex);
  if (g_nTtfUsers == 0 && TTF_Init() != 0) {
    LogError("%s TTF_Init: %s", "CDrawModule::RenderText", TTF_GetError());
    return nullptr;
  }
  ++g_nTtfUsers;
  SDL_Surface* surface = nullptr;
  TTF_Font* font = TTF_OpenFont(ZEPHPLAY_OSD_FONT, static_cast<int>(size));
  if (font == nullptr) {
    LogError("%s font %s: %s", "CDrawModule::RenderText", ZEPHPLAY_OSD_FONT, TTF_GetError());
  } else {
    const SDL_Color c{static_cast<Uint8>(color), static_cast<Uint8>(color >> 8),
                      static_cast<Uint8>(color >> 16), 255};
    surface = TTF_RenderUTF8_Blended(font, text.c_str(), c);
    TTF_CloseFont(font);
  }
  if (--g_nTtfUsers == 0) {
    TTF_Quit();
  }
  return surface;
}

}  // namespace

CDrawModule::CDrawModule() = default;

CDrawModule::~CDrawModule() {
  CAutoLock lock(&m_lock);
  for (Osd& osd : m_osd) {
    ClearOsd(&osd);
  }
  DestroyWindowObjects();
}

int CDrawModule::SetHwnd(void* hWnd) {
  CAutoLock lock(&m_lock);
  if (hWnd != m_hWnd) {
    m_hWnd = hWnd;
    m_bWindowDirty = true;
  }
  return 0;
}

int CDrawModule::SetHwndEx(void* hWnd, uint64_t u64Background, uint32_t nKeepAspect) {
  CAutoLock lock(&m_lock);
  m_nBackground = static_cast<uint32_t>(u64Background & 0xFFFFFF);
  m_params.SetKeepAspect(nKeepAspect != 0);
  return SetHwnd(hWnd);
}

int CDrawModule::InitDraw(uint32_t nWidth, uint32_t nHeight, uint32_t nMode) {
  if (nWidth == 0 || nHeight == 0 || nWidth > 16384 || nHeight > 16384) {
    return -1;
  }
  CAutoLock lock(&m_lock);
  m_nWidth = nWidth;
  m_nHeight = nHeight;
  m_nMode = nMode;
  m_bInit = true;
  return 0;
}

int CDrawModule::FreeDraw() {
  CAutoLock lock(&m_lock);
  m_bInit = false;
  m_nWidth = 0;
  m_nHeight = 0;
  return 0;
}

int CDrawModule::AdjustedWnd() {
  CAutoLock lock(&m_lock);
  m_bWindowDirty = true;
  return 0;
}

int CDrawModule::SetIndex(uint32_t nIndex) {
  CAutoLock lock(&m_lock);
  m_nIndex = nIndex;
  return 0;
}

int CDrawModule::SetDisplayCB(DrawDisplayNotify pfn, void* pUser) {
  CAutoLock lock(&m_cbLock);
  m_pfnDisplay = pfn;
  m_pDisplayUser = pUser;
  return 0;
}

int CDrawModule::SetDecCB(DrawDecodeNotify pfn, void* pUser) {
  CAutoLock lock(&m_cbLock);
  m_pfnDecode = pfn;
  m_pDecodeUser = pUser;
  return 0;
}

int CDrawModule::SetOSDText(uint32_t nIndex, const char* pText, uint32_t nX, uint32_t nY,
                            uint32_t nColor, uint32_t nSize, uint32_t nFlags) {
  if (nIndex >= kOsdCount) {
    return -1;
  }
  const uint32_t size = nSize == 0 ? 16 : std::min<uint32_t>(nSize, 256);
  SDL_Surface* surface = nullptr;
  if (pText != nullptr && pText[0] != '\0') {
    surface = RenderText(pText, size, nColor);
    if (surface == nullptr) {
      return -1;
    }
  }
  CAutoLock lock(&m_lock);
  Osd& osd = m_osd[nIndex];
  ClearOsd(&osd);
  osd.text = surface != nullptr ? pText : "";
  osd.x = static_cast<int>(std::min<uint32_t>(nX, 65535));
  osd.y = static_cast<int>(std::min<uint32_t>(nY, 65535));
  osd.color = nColor;
  osd.size = size;
  osd.flags = nFlags;
  osd.pSurface = surface;
  return 0;
}

int CDrawModule::SetPlayRect(const ZEPHPLAY_RECT* pRect) {
  CAutoLock lock(&m_lock);
  return m_params.SetPlayRect(pRect);
}

int CDrawModule::SetMirrorMode(uint32_t nMode) {
  CAutoLock lock(&m_lock);
  return m_params.SetMirrorMode(nMode);
}

int CDrawModule::SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY) {
  CAutoLock lock(&m_lock);
  return m_params.SetZoom(nPercent, nCenterX, nCenterY);
}

int CDrawModule::SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart) {
  CAutoLock lock(&m_lock);
  return m_params.SetOffsetStart(nEnable, pStart);
}

int CDrawModule::SetOffsetEnd(const ZEPHPLAY_POINT* pEnd) {
  CAutoLock lock(&m_lock);
  return m_params.SetOffsetEnd(pEnd);
}

int CDrawModule::SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                                uint32_t nHue, uint32_t nReset) {
  CAutoLock lock(&m_lock);
  return m_params.SetColorParams(nBrightness, nContrast, nSaturation, nHue, nReset);
}

int CDrawModule::GetColorParams(uint32_t* pBrightness, uint32_t* pContrast,
                                uint32_t* pSaturation, uint32_t* pHue) {
  if (pBrightness == nullptr || pContrast == nullptr || pSaturation == nullptr || pHue == nullptr) {
    return -1;
  }
  CAutoLock lock(&m_lock);
  m_params.GetColorParams(pBrightness, pContrast, pSaturation, pHue);
  return 0;
}

int CDrawModule::DrawYUV420(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV,
                            uint32_t nYStride, uint32_t nUVStride, uint32_t /*nFlag*/,
                            uint64_t u64Stamp) {
  if (Upload(pY, pU, pV, nYStride, nUVStride, u64Stamp) != 0) {
    return -1;
  }
  return Present();
}

int CDrawModule::Upload(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV,
                        uint32_t nYStride, uint32_t nUVStride, uint64_t u64Stamp) {
  if (pY == nullptr || pU == nullptr || pV == nullptr) {
    return -1;
  }
  const uint32_t start = platform::TickCountMs();
  CAutoLock lock(&m_lock);
  if (!m_bInit || nYStride < m_nWidth || nUVStride < (m_nWidth + 1) / 2) {
    return -1;
  }
  const bool inTexture = EnsureWindow() && EnsureTexture();
  if (inTexture) {
    UpdateTexture(pY, pU, pV, nYStride, nUVStride);
  }
  m_uploaded = {true, inTexture, u64Stamp, nYStride, nUVStride, platform::TickCountMs() - start};
  return 0;
}

int CDrawModule::Present() {
  Uploaded up;
  {
    CAutoLock lock(&m_lock);
    up = m_uploaded;
    m_uploaded.bValid = false;
  }
  if (!up.bValid) {
    return -1;
  }
  Notify(up.u64Stamp, up.nYStride, up.nUVStride, 0, true);
  const uint32_t start = platform::TickCountMs();
  {
    CAutoLock lock(&m_lock);
    // A texture made again since the upload (new window or size) holds no picture yet.
    if (up.bInTexture && m_pRenderer != nullptr && m_pTexture != nullptr) {
      RenderPicture();
    }
  }
  Notify(up.u64Stamp, up.nYStride, up.nUVStride,
         up.nUploadMs + platform::TickCountMs() - start, false);
  return 0;
}

bool CDrawModule::EnsureWindow() {
  if (m_bWindowDirty) {
    DestroyWindowObjects();
    m_bWindowDirty = false;
    if (m_hWnd == nullptr) {
      return false;
    }
    if (!AcquireVideo()) {
      return false;
    }
    m_bSdlHeld = true;
    m_pRenderer = RendererOnForeign(m_hWnd, &m_pWindow);
    if (m_pRenderer == nullptr) {
      DestroyWindowObjects();
      return false;
    }
    SDL_GetWindowSize(m_pWindow, &m_nWindowW, &m_nWindowH);
    SDL_RenderSetLogicalSize(m_pRenderer, 0, 0);
  }
  return m_pRenderer != nullptr;
}

void CDrawModule::DestroyWindowObjects() {
  for (Osd& osd : m_osd) {
    if (osd.pTexture != nullptr) {
      SDL_DestroyTexture(osd.pTexture);
      osd.pTexture = nullptr;
    }
  }
  if (m_pTexture != nullptr) {
    SDL_DestroyTexture(m_pTexture);
    m_pTexture = nullptr;
  }
  DestroyOnForeign(m_pRenderer, m_pWindow);
  m_pRenderer = nullptr;
  m_pWindow = nullptr;
  if (m_bSdlHeld) {
    ReleaseVideo();
    m_bSdlHeld = false;
  }
}

bool CDrawModule::EnsureTexture() {
  if (m_pTexture != nullptr) {
    int w = 0, h = 0;
    SDL_QueryTexture(m_pTexture, nullptr, nullptr, &w, &h);
    if (static_cast<uint32_t>(w) == m_nWidth && static_cast<uint32_t>(h) == m_nHeight) {
      return true;
    }
    SDL_DestroyTexture(m_pTexture);
  }
  m_pTexture = SDL_CreateTexture(m_pRenderer, SDL_PIXELFORMAT_IYUV, SDL_TEXTUREACCESS_STREAMING,
                                 static_cast<int>(m_nWidth), static_cast<int>(m_nHeight));
  if (m_pTexture == nullptr) {
    LogError("%s SDL_CreateTexture(%u x %u): %s", "CDrawModule::EnsureTexture", m_nWidth,
             m_nHeight, SDL_GetError());
  }
  return m_pTexture != nullptr;
}

void CDrawModule::ClearOsd(Osd* pOsd) {
  if (pOsd->pSurface != nullptr) {
    SDL_FreeSurface(pOsd->pSurface);
    pOsd->pSurface = nullptr;
  }
  // The texture belongs to the drawing thread's renderer: mark it stale, the next draw drops it.
  pOsd->text.clear();
  pOsd->bStale = true;
}

void CDrawModule::UpdateTexture(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV,
                                uint32_t nYStride, uint32_t nUVStride) {
  if (!m_params.ColorNeutral()) {
    PictureInfo in;
    in.nWidth = m_nWidth;
    in.nHeight = m_nHeight;
    in.pY = pY;
    in.pU = pU;
    in.pV = pV;
    in.nYStride = nYStride;
    in.nUVStride = nUVStride;
    const size_t luma = static_cast<size_t>(m_nWidth) * m_nHeight;
    const uint32_t cw = (m_nWidth + 1) / 2;
    const size_t chroma = static_cast<size_t>(cw) * ((m_nHeight + 1) / 2);
    m_adjusted.resize(luma + 2 * chroma);  // allocates only on the first adjusted draw of a size
    m_params.ApplyColor(in, m_adjusted.data());
    pY = m_adjusted.data();
    pU = pY + luma;
    pV = pU + chroma;
    nYStride = m_nWidth;
    nUVStride = cw;
  }
  SDL_UpdateYUVTexture(m_pTexture, nullptr, pY, static_cast<int>(nYStride), pU,
                       static_cast<int>(nUVStride), pV, static_cast<int>(nUVStride));
}

void CDrawModule::RenderPicture() {
  SDL_SetRenderDrawColor(m_pRenderer, static_cast<Uint8>(m_nBackground),
                         static_cast<Uint8>(m_nBackground >> 8),
                         static_cast<Uint8>(m_nBackground >> 16), 255);
  SDL_RenderClear(m_pRenderer);
  const CDrawParams::Rect src = m_params.SourceRect(m_nWidth, m_nHeight);
  const CDrawParams::Rect dst = m_params.TargetRect(src, m_nWindowW, m_nWindowH);
  const SDL_Rect s{src.x, src.y, src.w, src.h};
  const SDL_Rect d{dst.x, dst.y, dst.w, dst.h};
  int flip = SDL_FLIP_NONE;
  if (m_params.MirrorLeftRight()) {
    flip |= SDL_FLIP_HORIZONTAL;
  }
  if (m_params.MirrorUpsideDown()) {
    flip |= SDL_FLIP_VERTICAL;
  }
  SDL_RenderCopyEx(m_pRenderer, m_pTexture, &s, &d, 0.0, nullptr,
                   static_cast<SDL_RendererFlip>(flip));
  RenderOsd();
  SDL_RenderPresent(m_pRenderer);
}

void CDrawModule::RenderOsd() {
  for (Osd& osd : m_osd) {
    if (osd.bStale && osd.pTexture != nullptr) {
      SDL_DestroyTexture(osd.pTexture);
      osd.pTexture = nullptr;
    }
    osd.bStale = false;
    if (osd.pSurface == nullptr) {
      continue;
    }
    if (osd.pTexture == nullptr) {
      osd.pTexture = SDL_CreateTextureFromSurface(m_pRenderer, osd.pSurface);
      if (osd.pTexture == nullptr) {
        continue;
      }
    }
    const SDL_Rect d{osd.x, osd.y, osd.pSurface->w, osd.pSurface->h};
    if ((osd.flags & 1) != 0) {
      SDL_SetRenderDrawBlendMode(m_pRenderer, SDL_BLENDMODE_BLEND);
      SDL_SetRenderDrawColor(m_pRenderer, 0, 0, 0, 160);
      SDL_RenderFillRect(m_pRenderer, &d);
    }
    SDL_RenderCopy(m_pRenderer, osd.pTexture, nullptr, &d);
  }
}

void CDrawModule::Notify(uint64_t u64Stamp, uint32_t nYStride, uint32_t nUVStride,
                         uint32_t nDrawMs, bool bDecode) {
  uint32_t index, width, height, shownW = 0, shownH = 0;
  uint64_t window;
  {
    CAutoLock lock(&m_lock);
    index = m_nIndex;
    width = m_nWidth;
    height = m_nHeight;
    window = reinterpret_cast<uintptr_t>(m_hWnd);
    if (m_pRenderer != nullptr) {
      const CDrawParams::Rect dst =
          m_params.TargetRect(m_params.SourceRect(m_nWidth, m_nHeight), m_nWindowW, m_nWindowH);
      shownW = static_cast<uint32_t>(dst.w);
      shownH = static_cast<uint32_t>(dst.h);
    }
  }
  CAutoLock lock(&m_cbLock);
  if (bDecode && m_pfnDecode != nullptr) {
    m_pfnDecode(u64Stamp, width, height, nYStride, nUVStride, index, m_pDecodeUser);
  }
  if (!bDecode && m_pfnDisplay != nullptr) {
    m_pfnDisplay(index, window, width, height, u64Stamp, shownW, shownH, nDrawMs, m_pDisplayUser);
  }
}

}  // namespace zp
