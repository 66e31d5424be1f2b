// Audio file player exports: look up, forward, log, return. Every one answers 1 for a NULL
// handle, as the family always has.
#include <new>

#include "audio/CAudioFilePlayer.h"
#include "interface/exports/ExportSupport.h"
#include "platform/WidePath.h"

using zp::CAudioFilePlayer;

namespace {

CAudioFilePlayer* ToPlayer(ZEPHPLAY_AFP* player) { return reinterpret_cast<CAudioFilePlayer*>(player); }

int32_t Logged(const char* name, int32_t result) {
  zp::LogInfo("%s %s", name, result == 0 ? "SUC" : "FAIL");
  return result;
}

int32_t StartPlay(const char* name, ZEPHPLAY_AFP* player, const std::string& path) {
  if (player == nullptr || path.empty()) {
    return Logged(name, 1);
  }
  zp::LogInfo("%s %s", name, path.c_str());
  const int32_t result = zp::Guarded(name, [&] { return ToPlayer(player)->Start(path); });
  return Logged(name, result == 0 ? 0 : 1);
}

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPOpen(ZEPHPLAY_AFP** player) {
  constexpr const char* kName = "ZEPHPLAY_AFPOpen";
  if (player == nullptr) {
    return Logged(kName, 1);
  }
  auto* object = new (std::nothrow) CAudioFilePlayer();
  if (object == nullptr) {
    return Logged(kName, 1);
  }
  *player = reinterpret_cast<ZEPHPLAY_AFP*>(object);
  return Logged(kName, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPSetFUNMsgCB(ZEPHPLAY_AFP* player, uint64_t user,
                                                           ZEPHPLAY_AFPMsgCallBack callback) {
  if (player == nullptr) {
    return Logged("ZEPHPLAY_AFPSetFUNMsgCB", 1);
  }
  ToPlayer(player)->SetMessageCallback(callback, user);
  return Logged("ZEPHPLAY_AFPSetFUNMsgCB", 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPStartPlay(ZEPHPLAY_AFP* player, const char* path) {
  return StartPlay("ZEPHPLAY_AFPStartPlay", player, path != nullptr ? path : "");
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPStartPlayW(ZEPHPLAY_AFP* player, const wchar_t* path) {
  return StartPlay("ZEPHPLAY_AFPStartPlayW", player, zp::platform::WideToUtf8(path));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPGetTotalTime(ZEPHPLAY_AFP* player, uint32_t* ms) {
  if (player == nullptr || ms == nullptr) {
    return 1;
  }
  *ms = ToPlayer(player)->TotalTimeMs();
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPGetPlayTime(ZEPHPLAY_AFP* player, uint32_t* ms) {
  if (player == nullptr || ms == nullptr) {
    return 1;
  }
  *ms = ToPlayer(player)->PlayTimeMs();
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPPause(ZEPHPLAY_AFP* player, int32_t pause) {
  if (player == nullptr) {
    return Logged("ZEPHPLAY_AFPPause", 1);
  }
  ToPlayer(player)->Pause(pause != 0);
  return Logged("ZEPHPLAY_AFPPause", 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPStopPlay(ZEPHPLAY_AFP* player) {
  if (player == nullptr) {
    return Logged("ZEPHPLAY_AFPStopPlay", 1);
  }
  ToPlayer(player)->Stop();
  return Logged("ZEPHPLAY_AFPStopPlay", 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPClose(ZEPHPLAY_AFP* player) {
  if (player == nullptr) {
    return Logged("ZEPHPLAY_AFPClose", 1);
  }
  delete ToPlayer(player);
  return Logged("ZEPHPLAY_AFPClose", 0);
}

}  // extern "C"
