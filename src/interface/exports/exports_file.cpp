// File playback exports (file players only) and the media information of a recorded file:
// look up, forward, log, return.
#include "interface/CMediaProbe.h"
#include "interface/exports/ExportSupport.h"

using zp::CPlayerFile;
using zp::FilePlayer;

static_assert(sizeof(ZEPHPLAY_RECORD_INFO) == 20);

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenFile(ZEPHPLAY_PLAYHANDLE* handle, const char* path,
                                                     uint32_t drawMode) {
  const char* name = "ZEPHPLAY_OpenFile";
  zp::PlayHandle* record = zp::ToRecord(handle);
  if (!zp::CanTakePlayer(record) || path == nullptr) {
    return zp::LogNoPlayer(name);
  }
  zp::LogInfo("%s SUC111", name);
  return zp::Guarded(name, [&] {
    if (zp::AttachFilePlayer(record, path, drawMode) != 0) {
      return -1;
    }
    zp::LogInfo("%s SUC111", name);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseFile(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_CloseFile");
  }
  return zp::LogResult("ZEPHPLAY_CloseFile", player->Close());
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetFileInfo(ZEPHPLAY_PLAYHANDLE* handle, ZEPHPLAY_RECORD_INFO* info) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr || info == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_GetFileInfo");
  }
  const int32_t result = player->GetFileInfo(info);
  zp::LogInfo("%s ", "ZEPHPLAY_GetFileInfo");
  return result;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Play(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_Play");
  }
  // Starting the threads may throw.
  return zp::LogResult("ZEPHPLAY_Play", zp::Guarded("ZEPHPLAY_Play", [player] { return player->Play(); }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Stop(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_Stop");
  }
  return zp::LogResult("ZEPHPLAY_Stop", player->Stop());
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OneByOne(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_OneByOne");
  }
  return zp::LogResult("ZEPHPLAY_OneByOne", player->OneByOne());
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlayOneIFrame(ZEPHPLAY_PLAYHANDLE* handle, uint32_t forward) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_PlayOneIFrame");
  }
  return zp::LogResult("ZEPHPLAY_PlayOneIFrame", player->PlayOneIFrame(forward));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayTime(ZEPHPLAY_PLAYHANDLE* handle, uint32_t ms) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    zp::CPlayerStream* stream = zp::StreamPlayer(handle);  // streams log nothing
    return stream != nullptr ? stream->SetPlayTime(ms) : -1;
  }
  zp::LogInfo("%s nMinSecond[%d]", "ZEPHPLAY_SetPlayTime", static_cast<int>(ms));
  return player->SetPlayTime(ms);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetEndCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                           ZEPHPLAY_EndCallBack callback) {
  CPlayerFile* player = FilePlayer(handle);
  if (player == nullptr) {
    return zp::LogNoPlayer("ZEPHPLAY_SetEndCallBack");
  }
  // Same arguments; only the calling convention's spelling differs on Windows.
  const int32_t result = player->SetEndCallBack(user, reinterpret_cast<zp::EndCallBack>(callback));
  zp::LogInfo("%s ", "ZEPHPLAY_SetEndCallBack");
  return result;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetMediaInfo(const char* path, ZEPHPLAY_MEDIA_INFO* info) {
  if (path == nullptr || info == nullptr || info->nSize < sizeof(ZEPHPLAY_MEDIA_INFO)) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_GetMediaInfo", [=] { return zp::CMediaProbe::Probe(path, info); });
}

}  // extern "C"
