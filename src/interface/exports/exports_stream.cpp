// Stream playback exports (stream players only): look up, forward, return. None of them logs.
#include "interface/exports/ExportSupport.h"

using zp::CPlayerStream;
using zp::StreamPlayer;

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenStream(ZEPHPLAY_PLAYHANDLE* handle, void* /*param*/,
                                                       int32_t /*paramValue*/, uint32_t videoQueueBytes,
                                                       uint32_t unpaced) {
  zp::PlayHandle* record = zp::ToRecord(handle);
  if (!zp::CanTakePlayer(record)) {
    return -1;
  }
  // Starting the threads may throw.
  return zp::Guarded("ZEPHPLAY_OpenStream",
                     [&] { return zp::AttachStreamPlayer(record, videoQueueBytes, unpaced) != 0 ? -1 : 0; });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StreamSetPlayBuffer(ZEPHPLAY_PLAYHANDLE* handle, uint32_t bytes) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->SetPlayBuffer(bytes) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetStreamMode(ZEPHPLAY_PLAYHANDLE* handle, uint32_t mode) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->SetStreamMode(mode) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetStreamAttr(ZEPHPLAY_PLAYHANDLE* handle, const uint8_t* attr,
                                                          uint32_t length) {
  CPlayerStream* player = StreamPlayer(handle);
  if (player == nullptr) {
    return -1;
  }
  player->SetStreamAttr(attr, length);  // kept: callers have always been told 0
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputStreamData(ZEPHPLAY_PLAYHANDLE* handle, const uint8_t* data,
                                                            uint32_t length) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->InputStreamData(data, length) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputFrameData(ZEPHPLAY_PLAYHANDLE* handle, const uint8_t* data,
                                                           uint32_t length, uint32_t type, uint64_t stamp) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->InputFrameData(data, length, type, stamp, true) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseStream(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->CloseStream() : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetVideoFrameNum(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* frames) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->GetVideoFrameNum(frames) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ResetStream(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->ResetStream() : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetSourceBufferRemain(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* bytes) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->GetSourceBufferRemain(bytes) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDelayTime(ZEPHPLAY_PLAYHANDLE* handle, uint32_t minMs, uint32_t maxMs) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->SetDelayTime(minMs, maxMs) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlayOneFrameData(ZEPHPLAY_PLAYHANDLE* handle, uint32_t backward,
                                                             uint32_t allowNonKey) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->PlayOneFrameData(backward, allowNonKey) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SeekIFramStamp(ZEPHPLAY_PLAYHANDLE* handle, uint64_t stamp) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->SeekIFramStamp(stamp) : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StartPlayRecord(ZEPHPLAY_PLAYHANDLE* handle, const char* path,
                                                            uint32_t type) {
  CPlayerStream* player = StreamPlayer(handle);
  if (player == nullptr) {
    return -1;
  }
  // Opening a writer may throw (std::bad_alloc inside the MP4 muxer).
  return zp::Guarded("ZEPHPLAY_StartPlayRecord", [=] { return player->StartPlayRecord(path, type); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StopPlayRecord(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->StopPlayRecord() : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetPlayRecordStatus(ZEPHPLAY_PLAYHANDLE* handle) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->GetPlayRecordStatus() : -1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetPlayStamp(ZEPHPLAY_PLAYHANDLE* handle, uint64_t* stamp) {
  CPlayerStream* player = StreamPlayer(handle);
  return player != nullptr ? player->GetPlayStamp(stamp) : -1;
}

}  // extern "C"
