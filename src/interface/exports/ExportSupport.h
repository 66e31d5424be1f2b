#pragma once
#include <exception>

#include "interface/PlayHandle.h"
#include "player/CPlayerFile.h"
#include "player/CPlayerStream.h"
#include "common/LogAccess.h"
#include "zephplay.h"

namespace zp {

inline PlayHandle* ToRecord(ZEPHPLAY_PLAYHANDLE* handle) { return reinterpret_cast<PlayHandle*>(handle); }
inline CBasePlayer* AnyPlayer(ZEPHPLAY_PLAYHANDLE* handle) { return LookupAnyPlayer(ToRecord(handle)); }
// Kind 0 with a player is only ever made by AttachFilePlayer.
inline CPlayerFile* FilePlayer(ZEPHPLAY_PLAYHANDLE* handle) {
  return static_cast<CPlayerFile*>(LookupFilePlayer(ToRecord(handle)));
}
// Kind 1 is only ever made by AttachStreamPlayer.
inline CPlayerStream* StreamPlayer(ZEPHPLAY_PLAYHANDLE* handle) {
  return static_cast<CPlayerStream*>(LookupStreamPlayer(ToRecord(handle)));
}

// Runs body and turns any exception that escapes it into -1 with an error line: nothing may be
// thrown across the C interface.
template <typename Body>
int32_t Guarded(const char* name, Body body) {
  try {
    return body();
  } catch (const std::exception& e) {
    LogError("%s exception: %s", name, e.what());
  } catch (...) {
    LogError("%s unknown exception", name);
  }
  return -1;
}

// The "%s FAIL" line of a logging export whose lookup found no player.
inline int32_t LogNoPlayer(const char* name) {
  LogInfo("%s FAIL", name);
  return -1;
}

// The "%s SUC" / "%s FAIL" line of the exports that log their result.
inline int32_t LogResult(const char* name, int32_t result) {
  if (result == 0) {
    LogInfo("%s SUC", name);
  } else {
    LogInfo("%s FAIL", name);
  }
  return result;
}

// The per-frame calls' line: a success is a detail line, so that the log does not fill with them.
inline int32_t LogFrameResult(const char* name, int32_t result) {
  if (result == 0) {
    LogDetail("%s SUC", name);
  } else {
    LogInfo("%s FAIL", name);
  }
  return result;
}

}  // namespace zp
