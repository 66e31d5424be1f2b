// Audio capture and echo-cancellation exports: look up, forward, log, return.
#include <new>

#include "audio/CAudioCapture.h"
#include "audio/CEchoCanceller.h"
#include "common/Settings.h"
#include "interface/exports/ExportSupport.h"

using zp::CAudioCapture;

namespace {

constexpr uint32_t kVoiceBufferBytes = 320;
constexpr uint16_t kWaveFormatPcm = 1;

CAudioCapture* ToCapture(ZEPHPLAY_AUDIOCAPTURE* capture) { return reinterpret_cast<CAudioCapture*>(capture); }

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

}  // extern "C"
