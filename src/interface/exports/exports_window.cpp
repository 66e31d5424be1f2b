// Window and display exports, for players of any kind: look up, forward, log, return.
#include "interface/exports/ExportSupport.h"

using zp::AnyPlayer;
using zp::CBasePlayer;

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayWnd(ZEPHPLAY_PLAYHANDLE* handle, void* window) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return -1;
  }
  player->SetPlayWnd(window);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayWndEx(ZEPHPLAY_PLAYHANDLE* handle, void* window,
                                                         uint64_t background, uint32_t keepAspect) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_SetPlayWndEx");
  }
  player->SetPlayWndEx(window, background, keepAspect);
  return zp::LogResult("ZEPHPLAY_SetPlayWndEx", 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AdjustedWndRect(ZEPHPLAY_PLAYHANDLE* handle) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_AdjustedWndRect");
  }
  player->AdjustedWndRect();
  return zp::LogResult("ZEPHPLAY_AdjustedWndRect", 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDecodeVideo(ZEPHPLAY_PLAYHANDLE* handle, uint32_t decode) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return -1;
  }
  player->SetDecodeVideo(decode);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_FlashWnd(ZEPHPLAY_PLAYHANDLE* handle) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->FlashWnd() : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetColorParams(ZEPHPLAY_PLAYHANDLE* handle, uint32_t brightness,
                                                           uint32_t contrast, uint32_t saturation, uint32_t hue,
                                                           uint32_t reset) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetColorParams(brightness, contrast, saturation, hue, reset) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetColorParams(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* brightness,
                                                           uint32_t* contrast, uint32_t* saturation,
                                                           uint32_t* hue) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->GetColorParams(brightness, contrast, saturation, hue) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ShowOSDText(ZEPHPLAY_PLAYHANDLE* handle, uint32_t index,
                                                        const char* text, uint32_t x, uint32_t y,
                                                        uint32_t color, uint32_t size, uint32_t flags) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return -1;
  }
  // The text is rendered (and may allocate) at once.
  return zp::Guarded("ZEPHPLAY_ShowOSDText", [&] {
    player->ShowOSDText(index, text, x, y, color, size, flags);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetMirrorMode(ZEPHPLAY_PLAYHANDLE* handle, uint32_t mode) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetMirrorMode(mode) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetZoom(ZEPHPLAY_PLAYHANDLE* handle, uint32_t percent,
                                                    uint32_t centerX, uint32_t centerY) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetZoom(percent, centerX, centerY) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetOffsetStart(ZEPHPLAY_PLAYHANDLE* handle, uint32_t enable,
                                                           const ZEPHPLAY_POINT* start) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetOffsetStart(enable, start) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetOffsetEnd(ZEPHPLAY_PLAYHANDLE* handle, const ZEPHPLAY_POINT* end) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetOffsetEnd(end) : -1;
}

}  // extern "C"
