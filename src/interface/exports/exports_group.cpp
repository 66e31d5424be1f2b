// Multi-play-back group exports: the group handle is the group itself. Look up, forward,
// return; a 0 handle and an index out of range answer 1.
#include <cstdint>

#include "interface/exports/ExportSupport.h"
#include "player/CPlayGroup.h"

using zp::CPlayerStream;
using zp::CPlayGroup;

namespace {

CPlayGroup* ToGroup(ZEPHPLAY_MPBHANDLE handle) {
  return reinterpret_cast<CPlayGroup*>(static_cast<uintptr_t>(handle));
}

template <typename Body>
int32_t ForGroup(const char* name, ZEPHPLAY_MPBHANDLE handle, Body body) {
  CPlayGroup* group = ToGroup(handle);
  if (group == nullptr) {
    return 1;
  }
  return zp::Guarded(name, [&] { return body(group); });
}

template <typename Body>
int32_t ForPlayer(const char* name, ZEPHPLAY_MPBHANDLE handle, uint32_t index, Body body) {
  CPlayGroup* group = ToGroup(handle);
  CPlayerStream* player = group != nullptr ? group->Player(index) : nullptr;
  if (player == nullptr) {
    return 1;
  }
  return zp::Guarded(name, [&] { return body(player); });
}

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBOpenPlayHandle(ZEPHPLAY_MPBHANDLE* handle, int32_t count) {
  if (handle == nullptr || !CPlayGroup::IsValidCount(count)) {
    zp::LogInfo("%s FAIL count[%d]", "ZEPHPLAY_MPBOpenPlayHandle", count);
    return 1;
  }
  const int32_t result = zp::Guarded("ZEPHPLAY_MPBOpenPlayHandle", [&] {
    *handle = static_cast<ZEPHPLAY_MPBHANDLE>(reinterpret_cast<uintptr_t>(new CPlayGroup(count)));
    return 0;
  });
  return result == 0 ? 0 : 1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBClosePlayHandle(ZEPHPLAY_MPBHANDLE handle) {
  return ForGroup("ZEPHPLAY_MPBClosePlayHandle", handle, [](CPlayGroup* group) {
    if (group->IsOwnThread()) {
      zp::LogError("%s refused on a thread of the group's players", "ZEPHPLAY_MPBClosePlayHandle");
      return 1;
    }
    delete group;
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBOpenStream(ZEPHPLAY_MPBHANDLE handle, const uint32_t* channels,
                                                          void* /*param*/, int32_t /*paramValue*/,
                                                          uint32_t videoQueueBytes, uint32_t unpaced) {
  if (channels == nullptr) {
    return 1;
  }
  return ForGroup("ZEPHPLAY_MPBOpenStream", handle,
                  [=](CPlayGroup* group) { return group->OpenStream(channels, videoQueueBytes, unpaced); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBInputFrameData(ZEPHPLAY_MPBHANDLE handle, uint32_t channel,
                                                              const uint8_t* data, uint32_t length, uint32_t type,
                                                              uint64_t stamp) {
  return ForGroup("ZEPHPLAY_MPBInputFrameData", handle, [=](CPlayGroup* group) {
    return group->InputFrameData(channel, data, length, type, stamp);
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetVideoFrameMaxSecond(ZEPHPLAY_MPBHANDLE handle, int32_t* seconds) {
  if (seconds == nullptr) {
    return 1;
  }
  return ForGroup("ZEPHPLAY_MPBGetVideoFrameMaxSecond", handle, [=](CPlayGroup* group) {
    *seconds = static_cast<int32_t>(group->MaxBufferedSeconds());
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetPlayStamp(ZEPHPLAY_MPBHANDLE handle, uint64_t* stamp) {
  if (stamp == nullptr) {
    return 1;
  }
  return ForGroup("ZEPHPLAY_MPBGetPlayStamp", handle, [=](CPlayGroup* group) {
    *stamp = group->GetPlayStamp();
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayStamp(ZEPHPLAY_MPBHANDLE handle, uint64_t stamp) {
  return ForGroup("ZEPHPLAY_MPBSetPlayStamp", handle, [=](CPlayGroup* group) {
    group->SetPlayStamp(stamp);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSeekIFramStamp(ZEPHPLAY_MPBHANDLE handle, uint64_t stamp) {
  return ForGroup("ZEPHPLAY_MPBSeekIFramStamp", handle, [=](CPlayGroup* group) {
    group->SeekPlayStamp(stamp);
    return 1;  // kept: callers have always been told 1 here
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetPlayTime(ZEPHPLAY_MPBHANDLE handle, uint32_t* seconds) {
  if (seconds == nullptr) {
    return 1;
  }
  return ForGroup("ZEPHPLAY_MPBGetPlayTime", handle, [=](CPlayGroup* group) {
    *seconds = group->GetPlayTime();
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBPause(ZEPHPLAY_MPBHANDLE handle, uint32_t pause) {
  return ForGroup("ZEPHPLAY_MPBPause", handle, [=](CPlayGroup* group) {
    group->Pause(pause);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayRate(ZEPHPLAY_MPBHANDLE handle, int32_t rate) {
  return ForGroup("ZEPHPLAY_MPBSetPlayRate", handle, [=](CPlayGroup* group) {
    group->SetPlayRate(rate);
    zp::LogInfo("%s Rate[%d]", "ZEPHPLAY_MPBSetPlayRate", rate);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBPlayOneFrame(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                            uint32_t backward, uint32_t allowNonKey) {
  return ForGroup("ZEPHPLAY_MPBPlayOneFrame", handle,
                  [=](CPlayGroup* group) { return group->PlayOneFrame(index, backward, allowNonKey); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStopPlayRecord(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForGroup("ZEPHPLAY_MPBStopPlayRecord", handle,
                  [=](CPlayGroup* group) { return group->StopPlayRecord(index); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayBackIFrame(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                 uint32_t backward) {
  if (index == ZEPHPLAY_MPB_ALL) {
    return ForGroup("ZEPHPLAY_MPBSetPlayBackIFrame", handle, [=](CPlayGroup* group) {
      group->SetPlayBackIFrame(backward);
      return 0;
    });
  }
  return ForPlayer("ZEPHPLAY_MPBSetPlayBackIFrame", handle, index,
                   [=](CPlayerStream* player) { return player->SetPlayBackIFrame(backward); });
}

// ---- forwarded to one player --------------------------------------------------------------

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayWnd(ZEPHPLAY_MPBHANDLE handle, uint32_t index, void* window) {
  return ForPlayer("ZEPHPLAY_MPBSetPlayWnd", handle, index, [=](CPlayerStream* player) {
    player->SetPlayWnd(window);
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBAdjustedWndRect(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBAdjustedWndRect", handle, index, [](CPlayerStream* player) {
    player->AdjustedWndRect();
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStreamSetPlayBuffer(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                   uint32_t bytes) {
  return ForPlayer("ZEPHPLAY_MPBStreamSetPlayBuffer", handle, index,
                   [=](CPlayerStream* player) { return player->SetPlayBuffer(bytes); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetStreamAttr(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                             const uint8_t* attr, uint32_t length) {
  return ForPlayer("ZEPHPLAY_MPBSetStreamAttr", handle, index, [=](CPlayerStream* player) {
    player->SetStreamAttr(attr, length);  // kept: callers have always been told 0
    return 0;
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBCloseStream(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBCloseStream", handle, index,
                   [](CPlayerStream* player) { return player->CloseStream(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetVideoFrameNum(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                uint32_t* frames) {
  return ForPlayer("ZEPHPLAY_MPBGetVideoFrameNum", handle, index,
                   [=](CPlayerStream* player) { return player->GetVideoFrameNum(frames); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBResetStream(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBResetStream", handle, index,
                   [](CPlayerStream* player) { return player->ResetStream(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetSourceBufferRemain(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                    uint32_t* bytes) {
  return ForPlayer("ZEPHPLAY_MPBGetSourceBufferRemain", handle, index,
                   [=](CPlayerStream* player) { return player->GetSourceBufferRemain(bytes); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBPlaySound(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBPlaySound", handle, index, [](CPlayerStream* player) { return player->PlaySound(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStopSound(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBStopSound", handle, index, [](CPlayerStream* player) { return player->StopSound(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetVolume(ZEPHPLAY_MPBHANDLE handle, uint32_t index, uint16_t volume) {
  return ForPlayer("ZEPHPLAY_MPBSetVolume", handle, index,
                   [=](CPlayerStream* player) { return player->SetVolume(volume); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetUsrDataBack(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint64_t user, ZEPHPLAY_UsrDataCallBack callback) {
  return ForPlayer("ZEPHPLAY_MPBSetUsrDataBack", handle, index, [=](CPlayerStream* player) {
    // Same arguments; only the calling convention's spelling differs on Windows.
    return player->SetUsrDataBack(user, reinterpret_cast<zp::UsrDataCallBack>(callback));
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBCaptureBMP(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                          const char* path) {
  return ForPlayer("ZEPHPLAY_MPBCaptureBMP", handle, index,
                   [=](CPlayerStream* player) { return path != nullptr ? player->CaptureBMP(path) : -1; });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBCaptureJPEG(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                           const char* path) {
  return ForPlayer("ZEPHPLAY_MPBCaptureJPEG", handle, index,
                   [=](CPlayerStream* player) { return path != nullptr ? player->CaptureJPEG(path) : -1; });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBFlashWnd(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBFlashWnd", handle, index, [](CPlayerStream* player) { return player->FlashWnd(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayIFrame(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                             uint32_t only) {
  return ForPlayer("ZEPHPLAY_MPBSetPlayIFrame", handle, index,
                   [=](CPlayerStream* player) { return player->SetPlayIFrame(only); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetColorParams(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint32_t brightness, uint32_t contrast,
                                                              uint32_t saturation, uint32_t hue, uint32_t reset) {
  return ForPlayer("ZEPHPLAY_MPBSetColorParams", handle, index, [=](CPlayerStream* player) {
    return player->SetColorParams(brightness, contrast, saturation, hue, reset);
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetColorParams(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint32_t* brightness, uint32_t* contrast,
                                                              uint32_t* saturation, uint32_t* hue) {
  return ForPlayer("ZEPHPLAY_MPBGetColorParams", handle, index, [=](CPlayerStream* player) {
    return player->GetColorParams(brightness, contrast, saturation, hue);
  });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetMirrorMode(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                             uint32_t mode) {
  return ForPlayer("ZEPHPLAY_MPBSetMirrorMode", handle, index,
                   [=](CPlayerStream* player) { return player->SetMirrorMode(mode); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStartPlayRecord(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                               const char* path, uint32_t type) {
  return ForPlayer("ZEPHPLAY_MPBStartPlayRecord", handle, index,
                   [=](CPlayerStream* player) { return player->StartPlayRecord(path, type); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetPlayRecordStatus(ZEPHPLAY_MPBHANDLE handle, uint32_t index) {
  return ForPlayer("ZEPHPLAY_MPBGetPlayRecordStatus", handle, index,
                   [](CPlayerStream* player) { return player->GetPlayRecordStatus(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetDisplayCallBack(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                  uint64_t user, ZEPHPLAY_DisplayCallBack callback) {
  return ForPlayer("ZEPHPLAY_MPBSetDisplayCallBack", handle, index,
                   [=](CPlayerStream* player) { return player->SetDisplayCallBack(user, callback); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetDecCallBack(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint64_t user, ZEPHPLAY_DecCallBack callback) {
  return ForPlayer("ZEPHPLAY_MPBSetDecCallBack", handle, index,
                   [=](CPlayerStream* player) { return player->SetDecCallBack(user, callback); });
}

}  // extern "C"
