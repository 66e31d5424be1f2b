// Audio capture and echo-cancellation exports: look up, forward, log, return.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <new>

#include "audio/CADEC.h"
#include "audio/CAudioCapture.h"
#include "audio/CAudioCaptureAndEncoder.h"
#include "audio/CEchoCanceller.h"
#include "common/Settings.h"
#include "interface/exports/ExportSupport.h"
#include "platform/WidePath.h"

using zp::CAudioCapture;
using zp::CAudioCaptureAndEncoder;

namespace {

constexpr uint32_t kVoiceBufferBytes = 320;
constexpr uint32_t kAacBufferBytes = 1024;
constexpr uint16_t kWaveFormatPcm = 1;

CAudioCapture* ToCapture(ZEPHPLAY_AUDIOCAPTURE* capture) { return reinterpret_cast<CAudioCapture*>(capture); }
CAudioCaptureAndEncoder* ToAce(ZEPHPLAY_ACE* ace) { return reinterpret_cast<CAudioCaptureAndEncoder*>(ace); }

int32_t OpenCapture(const char* name, ZEPHPLAY_AUDIOCAPTURE** out, const zp::WaveInFormat& format,
                    uint32_t bufferSize, uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback) {
  if (out == nullptr) {
    return zp::LogResult(name, -1);
  }
  return zp::LogResult(name, zp::Guarded(name, [&]() -> int32_t {
                         auto* capture = new (std::nothrow) CAudioCapture();
                         if (capture == nullptr) {
                           return -1;
                         }
                         if (!capture->OpenFormat(callback, user, format, bufferSize)) {
                           delete capture;
                           return -1;
                         }
                         *out = reinterpret_cast<ZEPHPLAY_AUDIOCAPTURE*>(capture);
                         return 0;
                       }));
}

zp::WaveInFormat MonoAt(uint32_t rate) {
  zp::WaveInFormat format;
  format.nSamplesPerSec = rate;
  return format;
}

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCapture(ZEPHPLAY_AUDIOCAPTURE** capture, uint64_t user,
                                                            ZEPHPLAY_AudioCaptureCallBack callback) {
  return OpenCapture("ZEPHPLAY_OpenAudioCapture", capture, MonoAt(8000), kVoiceBufferBytes, user, callback);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCaptureEx(ZEPHPLAY_AUDIOCAPTURE** capture, uint32_t rate,
                                                              uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback) {
  return OpenCapture("ZEPHPLAY_OpenAudioCaptureEx", capture, MonoAt(rate), kVoiceBufferBytes, user, callback);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCaptureAac(ZEPHPLAY_AUDIOCAPTURE** capture, int32_t coderType,
                                                               uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback) {
  constexpr const char* kName = "ZEPHPLAY_OpenAudioCaptureAac";
  const uint32_t rate = coderType < 0 ? 0 : zp::CADEC::AacRateOfCoder(static_cast<uint32_t>(coderType));
  if (rate == 0) {
    return zp::LogResult(kName, -1);
  }
  return OpenCapture(kName, capture, MonoAt(rate), kAacBufferBytes, user, callback);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCapturePCM(ZEPHPLAY_AUDIOCAPTURE** capture,
                                                               const ZEPHPLAY_WAVEFORMAT* format, uint32_t bufferSize,
                                                               uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback) {
  constexpr const char* kName = "ZEPHPLAY_OpenAudioCapturePCM";
  if (format == nullptr || format->wFormatTag != kWaveFormatPcm) {
    return zp::LogResult(kName, -1);
  }
  zp::WaveInFormat wave;
  wave.nSamplesPerSec = format->nSamplesPerSec;
  wave.nChannels = format->nChannels;
  wave.wBitsPerSample = format->wBitsPerSample;
  return OpenCapture(kName, capture, wave, bufferSize, user, callback);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioCapture(ZEPHPLAY_AUDIOCAPTURE* capture) {
  constexpr const char* kName = "ZEPHPLAY_CloseAudioCapture";
  if (capture == nullptr || !ToCapture(capture)->Close()) {
    return zp::LogResult(kName, -1);
  }
  delete ToCapture(capture);
  return zp::LogResult(kName, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenEchoCancellation(ZEPHPLAY_ECHO** echo, ZEPHPLAY_AUDIOPLAYER* player,
                                                                ZEPHPLAY_AUDIOCAPTURE* capture) {
  (void)echo;
  (void)player;
  (void)capture;
  // Kept: echo cancellation stays off whatever the settings say; callers take 1 as "none here".
  zp::LogError("%s %d(%d)", "ZEPHPLAY_OpenEchoCancellation", zp::Settings::nAecParam1.load(),
               zp::Settings::nAecParam2.load());
  return 1;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseEchoCancellation(ZEPHPLAY_ECHO* echo) {
  if (echo == nullptr) {
    return 1;
  }
  auto* canceller = reinterpret_cast<zp::CEchoCanceller*>(echo);
  canceller->Stop();
  canceller->Close();
  delete canceller;
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEOpen(ZEPHPLAY_ACE** ace, int32_t coderType, uint64_t user,
                                                   ZEPHPLAY_AudioCaptureCallBack callback) {
  constexpr const char* kName = "ZEPHPLAY_ACEOpen";
  if (ace == nullptr) {
    return zp::LogResult(kName, -1);
  }
  return zp::LogResult(kName, zp::Guarded(kName, [&]() -> int32_t {
                         auto* object = new (std::nothrow) CAudioCaptureAndEncoder(static_cast<uint32_t>(coderType));
                         if (object == nullptr) {
                           return -1;
                         }
                         if (!object->Open(callback, user)) {
                           delete object;
                           return -1;
                         }
                         *ace = reinterpret_cast<ZEPHPLAY_ACE*>(object);
                         return 0;
                       }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEClose(ZEPHPLAY_ACE* ace) {
  constexpr const char* kName = "ZEPHPLAY_ACEClose";
  if (ace == nullptr || !ToAce(ace)->Close()) {
    return zp::LogResult(kName, -1);
  }
  delete ToAce(ace);
  return zp::LogResult(kName, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEStartSaveToFile(ZEPHPLAY_ACE* ace) {
  return ace == nullptr ? -1 : ToAce(ace)->StartSaveToFile();
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEStopSaveToFile(ZEPHPLAY_ACE* ace) {
  if (ace == nullptr) {
    return -1;
  }
  ToAce(ace)->StopSaveToFile();
  return 1;  // kept: callers have always been told 1 here
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEGetSavePath(ZEPHPLAY_ACE* ace, char* path) {
  if (ace == nullptr || path == nullptr) {
    return -1;
  }
  const std::string saved = ToAce(ace)->SavePath();
  const size_t n = std::min<size_t>(saved.size(), CAudioCaptureAndEncoder::kMaxPath - 1);
  std::memcpy(path, saved.data(), n);
  path[n] = '\0';
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEGetSavePathW(ZEPHPLAY_ACE* ace, wchar_t* path) {
  if (ace == nullptr || path == nullptr) {
    return -1;
  }
  const std::wstring saved = zp::platform::Utf8ToWide(ToAce(ace)->SavePath());
  const size_t n = std::min<size_t>(saved.size(), CAudioCaptureAndEncoder::kMaxPath - 1);
  std::wmemcpy(path, saved.data(), n);
  path[n] = L'\0';
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEGetTime(ZEPHPLAY_ACE* ace, uint32_t* ms) {
  if (ace == nullptr || ms == nullptr) {
    return -1;
  }
  *ms = ToAce(ace)->DeliveredSpanMs();
  return 0;
}

}  // extern "C"
