// Callback setters, for players of any kind: look up, forward, return.
#include "interface/exports/ExportSupport.h"

using zp::AnyPlayer;
using zp::CBasePlayer;

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDecCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                           ZEPHPLAY_DecCallBack callback) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetDecCallBack(user, callback) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetUsrDataBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                           ZEPHPLAY_UsrDataCallBack callback) {
  CBasePlayer* player = AnyPlayer(handle);
  // Same arguments; only the calling convention's spelling differs on Windows.
  return player != nullptr ? player->SetUsrDataBack(user, reinterpret_cast<zp::UsrDataCallBack>(callback)) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDisplayCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                               ZEPHPLAY_DisplayCallBack callback) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetDisplayCallBack(user, callback) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDecCBEx(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                       ZEPHPLAY_DecCBEx callback) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetDecCBEx(user, callback) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioDecDataCallBack(ZEPHPLAY_PLAYHANDLE* handle,
                                                                    ZEPHPLAY_AudioDecDataCallBack callback,
                                                                    uint64_t user) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetAudioDecDataCallBack(reinterpret_cast<zp::PcmCallback>(callback), user)
                           : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetSizeCallBack(ZEPHPLAY_PLAYHANDLE* handle,
                                                            ZEPHPLAY_SizeCallBack callback, uint64_t user) {
  CBasePlayer* player = AnyPlayer(handle);
  return player != nullptr ? player->SetSizeCallBack(callback, user) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetSourceBufCallBack(ZEPHPLAY_PLAYHANDLE*, uint32_t, void*, uint32_t) {
  return -1;  // never supported; kept so that callers still link
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SearchFrame(void) { return -1; }

}  // extern "C"
