#include "video/CDrawModule.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/hwcontext.h>
}

#include <SDL2/SDL.h>
#include <SDL2/SDL_ttf.h>

#include <algorithm>
#include <cmath>
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

// The caller's window as an SDL window: with OpenGL where the system has it (a renderer that
// converts and scales on the graphics card), else for SDL's software renderer. The hint that
// asks for OpenGL is process-wide, so the host's own value is put back at once.
SDL_Window* WindowFromForeign(void* hWnd) {
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
  return window;
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

uint8_t Clamp8(int v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

}  // namespace

CDrawModule::CDrawModule() = default;

CDrawModule::~CDrawModule() {
  av_frame_free(&m_pDownload);
  CAutoLock lock(&m_lock);
  for (Osd& osd : m_osd) {
    ClearOsd(&osd);
  }
  DestroyWindowObjects();
}

bool CDrawModule::InitHwDevice(AVBufferRef** ppDevice, int* pType) {
#if defined(_WIN32)
  constexpr AVHWDeviceType kTypes[] = {AV_HWDEVICE_TYPE_DXVA2, AV_HWDEVICE_TYPE_D3D11VA};
#else
  constexpr AVHWDeviceType kTypes[] = {AV_HWDEVICE_TYPE_VAAPI, AV_HWDEVICE_TYPE_VDPAU,
                                       AV_HWDEVICE_TYPE_CUDA};
#endif
  for (AVHWDeviceType type : kTypes) {
    if (av_hwdevice_ctx_create(ppDevice, type, nullptr, nullptr, 0) == 0) {
      *pType = type;
      return true;
    }
  }
  return false;
}

bool CDrawModule::RetrieveHwData(const AVFrame* pFrame, PictureInfo* pOut) {
  if (pFrame == nullptr || pOut == nullptr) {
    return false;
  }
  const AVFrame* picture = pFrame;
  if (pFrame->hw_frames_ctx != nullptr) {
    if (m_pDownload == nullptr && (m_pDownload = av_frame_alloc()) == nullptr) {
      return false;
    }
    if (m_pDownload->buf[0] != nullptr &&
        (m_pDownload->width != pFrame->width || m_pDownload->height != pFrame->height)) {
      av_frame_unref(m_pDownload);  // a new size: new buffers; otherwise the old ones are reused
    }
    if (av_hwframe_transfer_data(m_pDownload, pFrame, 0) < 0) {
      return false;
    }
    picture = m_pDownload;
  }
  if (picture->width <= 0 || picture->height <= 0) {
    return false;
  }
  pOut->nWidth = static_cast<uint32_t>(picture->width);
  pOut->nHeight = static_cast<uint32_t>(picture->height);
  pOut->u64Stamp = static_cast<uint64_t>(pFrame->pts);
  pOut->nKey = pFrame->key_frame != 0 ? 1 : 0;
  if (picture->format == AV_PIX_FMT_YUV420P || picture->format == AV_PIX_FMT_YUVJ420P) {
    pOut->pY = picture->data[0];
    pOut->pU = picture->data[1];
    pOut->pV = picture->data[2];
    pOut->nYStride = static_cast<uint32_t>(picture->linesize[0]);
    pOut->nUVStride = static_cast<uint32_t>(picture->linesize[1]);
    return true;
  }
  if (picture->format != AV_PIX_FMT_NV12) {
    return false;
  }
  const size_t w = pOut->nWidth, h = pOut->nHeight, cw = (w + 1) / 2, ch = (h + 1) / 2;
  if (m_planar.size() != w * h + 2 * cw * ch) {
    m_planar.assign(w * h + 2 * cw * ch, 0);
  }
  uint8_t* y = m_planar.data();
  uint8_t* u = y + w * h;
  uint8_t* v = u + cw * ch;
  for (size_t row = 0; row < h; ++row) {
    std::copy_n(picture->data[0] + row * picture->linesize[0], w, y + row * w);
  }
  for (size_t row = 0; row < ch; ++row) {
    const uint8_t* uv = picture->data[1] + row * picture->linesize[1];
    for (size_t x = 0; x < cw; ++x) {
      u[row * cw + x] = uv[2 * x];
      v[row * cw + x] = uv[2 * x + 1];
    }
  }
  pOut->pY = y;
  pOut->pU = u;
  pOut->pV = v;
  pOut->nYStride = static_cast<uint32_t>(w);
  pOut->nUVStride = static_cast<uint32_t>(cw);
  return true;
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
  m_bKeepAspect = nKeepAspect != 0;
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
  const size_t luma = static_cast<size_t>(nWidth) * nHeight;
  const size_t chroma = static_cast<size_t>((nWidth + 1) / 2) * ((nHeight + 1) / 2);
  m_adjusted.assign(luma + 2 * chroma, 0);
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

int CDrawModule::SetMirrorMode(uint32_t nMode) {
  if (nMode > 3) {
    return -1;
  }
  CAutoLock lock(&m_lock);
  m_nMirror = nMode;
  return 0;
}

int CDrawModule::SetZoom(uint32_t nPercent, uint32_t nCenterX, uint32_t nCenterY) {
  if (nPercent == 0) {
    nPercent = 100;
  }
  if (nPercent < 100 || nPercent > kZoomMaxPercent) {
    return -1;
  }
  CAutoLock lock(&m_lock);
  m_nZoom = nPercent;
  m_nZoomX = nCenterX;
  m_nZoomY = nCenterY;
  return 0;
}

int CDrawModule::SetOffsetStart(uint32_t nEnable, const ZEPHPLAY_POINT* pStart) {
  CAutoLock lock(&m_lock);
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

int CDrawModule::SetOffsetEnd(const ZEPHPLAY_POINT* pEnd) {
  if (pEnd == nullptr || pEnd->x < 0 || pEnd->y < 0) {
    return -1;
  }
  CAutoLock lock(&m_lock);
  m_offEnd = *pEnd;
  return 0;
}

int CDrawModule::SetColorParams(uint32_t nBrightness, uint32_t nContrast, uint32_t nSaturation,
                                uint32_t nHue, uint32_t nReset) {
  CAutoLock lock(&m_lock);
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

int CDrawModule::GetColorParams(uint32_t* pBrightness, uint32_t* pContrast,
                                uint32_t* pSaturation, uint32_t* pHue) {
  if (pBrightness == nullptr || pContrast == nullptr || pSaturation == nullptr || pHue == nullptr) {
    return -1;
  }
  CAutoLock lock(&m_lock);
  *pBrightness = m_nBrightness;
  *pContrast = m_nContrast;
  *pSaturation = m_nSaturation;
  *pHue = m_nHue;
  return 0;
}

int CDrawModule::DrawYUV420(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV,
                            uint32_t nYStride, uint32_t nUVStride, uint32_t /*nFlag*/,
                            uint64_t u64Stamp) {
  if (pY == nullptr || pU == nullptr || pV == nullptr) {
    return -1;
  }
  {
    CAutoLock lock(&m_lock);
    if (!m_bInit || nYStride < m_nWidth || nUVStride < (m_nWidth + 1) / 2) {
      return -1;
    }
  }
  Notify(u64Stamp, nYStride, nUVStride, 0, true);
  const uint32_t start = platform::TickCountMs();
  {
    CAutoLock lock(&m_lock);
    if (EnsureWindow() && EnsureTexture()) {
      RenderPicture(pY, pU, pV, nYStride, nUVStride);
    }
  }
  Notify(u64Stamp, nYStride, nUVStride, platform::TickCountMs() - start, false);
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
    m_pWindow = WindowFromForeign(m_hWnd);
    if (m_pWindow == nullptr) {
      LogError("%s SDL_CreateWindowFrom: %s", "CDrawModule::EnsureWindow", SDL_GetError());
      DestroyWindowObjects();
      return false;
    }
    m_pRenderer = SDL_CreateRenderer(m_pWindow, -1, SDL_RENDERER_ACCELERATED);
    if (m_pRenderer == nullptr) {
      m_pRenderer = SDL_CreateRenderer(m_pWindow, -1, SDL_RENDERER_SOFTWARE);
    }
    if (m_pRenderer == nullptr) {
      LogError("%s SDL_CreateRenderer: %s", "CDrawModule::EnsureWindow", SDL_GetError());
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
  if (m_pRenderer != nullptr) {
    SDL_DestroyRenderer(m_pRenderer);
    m_pRenderer = nullptr;
  }
  if (m_pWindow != nullptr) {
    SDL_DestroyWindow(m_pWindow);  // a foreign window stays; only SDL's record of it goes
    m_pWindow = nullptr;
  }
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

void CDrawModule::RenderPicture(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV,
                                uint32_t nYStride, uint32_t nUVStride) {
  if (!ColorNeutral()) {
    ApplyColor(pY, pU, pV, nYStride, nUVStride);
    const size_t luma = static_cast<size_t>(m_nWidth) * m_nHeight;
    const uint32_t cw = (m_nWidth + 1) / 2;
    const size_t chroma = static_cast<size_t>(cw) * ((m_nHeight + 1) / 2);
    pY = m_adjusted.data();
    pU = pY + luma;
    pV = pU + chroma;
    nYStride = m_nWidth;
    nUVStride = cw;
  }
  SDL_UpdateYUVTexture(m_pTexture, nullptr, pY, static_cast<int>(nYStride), pU,
                       static_cast<int>(nUVStride), pV, static_cast<int>(nUVStride));
  SDL_SetRenderDrawColor(m_pRenderer, static_cast<Uint8>(m_nBackground),
                         static_cast<Uint8>(m_nBackground >> 8),
                         static_cast<Uint8>(m_nBackground >> 16), 255);
  SDL_RenderClear(m_pRenderer);
  const Rect src = SourceRect();
  const Rect dst = TargetRect(src);
  const SDL_Rect s{src.x, src.y, src.w, src.h};
  const SDL_Rect d{dst.x, dst.y, dst.w, dst.h};
  int flip = SDL_FLIP_NONE;
  if ((m_nMirror & 1) != 0) {
    flip |= SDL_FLIP_HORIZONTAL;
  }
  if ((m_nMirror & 2) != 0) {
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

bool CDrawModule::ColorNeutral() const {
  return m_nBrightness == kColorDefault && m_nContrast == kColorDefault &&
         m_nSaturation == kColorDefault && m_nHue == kColorDefault;
}

// Brightness shifts luma by up to +-128, contrast scales it around 16 by 0..2, saturation scales
// chroma by 0..2 and hue turns it by -180..180 degrees.
void CDrawModule::ApplyColor(const uint8_t* pY, const uint8_t* pU, const uint8_t* pV,
                             uint32_t nYStride, uint32_t nUVStride) {
  const int offset = (static_cast<int>(m_nBrightness) - 50) * 128 / 50;
  const int contrast = static_cast<int>(m_nContrast) * 256 / 50;
  uint8_t lumaMap[256];
  for (int i = 0; i < 256; ++i) {
    lumaMap[i] = Clamp8((((i - 16) * contrast) >> 8) + 16 + offset);
  }
  uint8_t* outY = m_adjusted.data();
  for (uint32_t row = 0; row < m_nHeight; ++row) {
    const uint8_t* in = pY + static_cast<size_t>(row) * nYStride;
    for (uint32_t x = 0; x < m_nWidth; ++x) {
      *outY++ = lumaMap[in[x]];
    }
  }
  const double angle = (static_cast<double>(m_nHue) - 50.0) * M_PI / 50.0;
  const double sat = m_nSaturation / 50.0;
  const int cosA = static_cast<int>(std::lround(std::cos(angle) * sat * 256));
  const int sinA = static_cast<int>(std::lround(std::sin(angle) * sat * 256));
  const uint32_t cw = (m_nWidth + 1) / 2;
  const uint32_t ch = (m_nHeight + 1) / 2;
  uint8_t* outU = outY;
  uint8_t* outV = outU + static_cast<size_t>(cw) * ch;
  for (uint32_t row = 0; row < ch; ++row) {
    const uint8_t* inU = pU + static_cast<size_t>(row) * nUVStride;
    const uint8_t* inV = pV + static_cast<size_t>(row) * nUVStride;
    for (uint32_t x = 0; x < cw; ++x) {
      const int u = inU[x] - 128;
      const int v = inV[x] - 128;
      *outU++ = Clamp8(((u * cosA - v * sinA) >> 8) + 128);
      *outV++ = Clamp8(((u * sinA + v * cosA) >> 8) + 128);
    }
  }
}

CDrawModule::Rect CDrawModule::SourceRect() const {
  Rect r{0, 0, static_cast<int>(m_nWidth), static_cast<int>(m_nHeight)};
  if (m_bOffsets) {
    const int w = r.w - m_offStart.x - m_offEnd.x;
    const int h = r.h - m_offStart.y - m_offEnd.y;
    if (w >= 2 && h >= 2) {  // offsets that leave nothing are ignored
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

CDrawModule::Rect CDrawModule::TargetRect(const Rect& src) const {
  Rect r{0, 0, m_nWindowW, m_nWindowH};
  if (m_bPlayRect) {
    const int left = std::clamp(m_playRect.left, 0, m_nWindowW);
    const int top = std::clamp(m_playRect.top, 0, m_nWindowH);
    const int right = std::clamp(m_playRect.right, left, m_nWindowW);
    const int bottom = std::clamp(m_playRect.bottom, top, m_nWindowH);
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
      const Rect dst = TargetRect(SourceRect());
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
