// Playback control exports, for players of any kind: look up, forward, log, return.
#include "interface/exports/ExportSupport.h"

using zp::AnyPlayer;
using zp::CBasePlayer;

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Pause(ZEPHPLAY_PLAYHANDLE* handle, uint32_t pause) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_Pause");
  }
  return zp::LogResult("ZEPHPLAY_Pause", player->Pause(pause));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayRate(ZEPHPLAY_PLAYHANDLE* handle, int32_t rate) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_SetPlayRate");
  }
  player->SetPlayRate(rate);  // kept: callers have always been told 0
  zp::LogInfo("%s Rate[%d]", "ZEPHPLAY_SetPlayRate", rate);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetPlayTime(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* ms) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr && ms != nullptr ? player->GetPlayTime(ms) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlaySound(ZEPHPLAY_PLAYHANDLE* handle) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_PlaySound", [player] { return player->PlaySound(); });  // opens the device
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StopSound(ZEPHPLAY_PLAYHANDLE* handle) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->StopSound() : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetVolume(ZEPHPLAY_PLAYHANDLE* handle, uint16_t volume) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetVolume(volume) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetGain(ZEPHPLAY_PLAYHANDLE* handle, double gain) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetGain(gain) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CaptureBMP(ZEPHPLAY_PLAYHANDLE* handle, const char* path) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr || path == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_CaptureBMP", [=] { return player->CaptureBMP(path); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CaptureJPEG(ZEPHPLAY_PLAYHANDLE* handle, const char* path) {
  CBasePlayer* player = AnyPlayer(handle);
  if (player == nullptr || path == nullptr) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_CaptureJPEG", [=] { return player->CaptureJPEG(path); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayIFrame(ZEPHPLAY_PLAYHANDLE* handle, uint32_t only) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetPlayIFrame(only) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayBackIFrame(ZEPHPLAY_PLAYHANDLE* handle, uint32_t backward) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetPlayBackIFrame(backward) : -1;
}

}  // extern "C"
