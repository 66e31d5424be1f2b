// Audio encoder exports: look up, forward, log, return.
#include <new>

#include "audio/CADEC.h"
#include "audio/CAudioEncoder.h"
#include "interface/exports/ExportSupport.h"

using zp::CAudioEncoder;

namespace {

CAudioEncoder* ToEncoder(ZEPHPLAY_AUDIOENCODER* encoder) { return reinterpret_cast<CAudioEncoder*>(encoder); }

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioEncoder(ZEPHPLAY_AUDIOENCODER** encoder, uint32_t coderType) {
  constexpr const char* kName = "ZEPHPLAY_OpenAudioEncoder";
  zp::LogInfo("%s coderType:%u", kName, coderType);
  if (encoder == nullptr) {
    return zp::LogResult(kName, -1);
  }
  return zp::LogResult(kName, zp::Guarded(kName, [&]() -> int32_t {
                         auto* object = new (std::nothrow) CAudioEncoder();
                         if (object == nullptr) {
                           return -1;
                         }
                         if (!object->Open(coderType, 0)) {
                           delete object;
                           return -1;
                         }
                         *encoder = reinterpret_cast<ZEPHPLAY_AUDIOENCODER*>(object);
                         return 0;
                       }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioEncoderHead(ZEPHPLAY_AUDIOENCODER* encoder, uint8_t* head,
                                                             uint32_t* length) {
  constexpr const char* kName = "ZEPHPLAY_AudioEncoderHead";
  if (encoder == nullptr || head == nullptr || length == nullptr) {
    return zp::LogResult(kName, -1);
  }
  ToEncoder(encoder)->Head(head, length);
  return zp::LogResult(kName, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioEncoderFrame(ZEPHPLAY_AUDIOENCODER* encoder, const uint8_t* pcm,
                                                              uint32_t length, uint8_t* frame,
                                                              uint32_t* frameLength) {
  constexpr const char* kName = "ZEPHPLAY_AudioEncoderFrame";
  if (encoder == nullptr || pcm == nullptr || frame == nullptr || frameLength == nullptr) {
    return zp::LogFrameResult(kName, -1);
  }
  return zp::LogFrameResult(kName, ToEncoder(encoder)->EncodeFrame(pcm, length, frame, frameLength) ? 0 : -1);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioEncOneFrame(ZEPHPLAY_AUDIOENCODER* encoder, const uint8_t* pcm,
                                                             uint32_t* length, uint8_t* frame,
                                                             uint32_t* frameLength) {
  constexpr const char* kName = "ZEPHPLAY_AudioEncOneFrame";
  if (encoder == nullptr || pcm == nullptr || length == nullptr || frame == nullptr || frameLength == nullptr) {
    return zp::LogFrameResult(kName, -1);
  }
  return zp::LogFrameResult(kName, ToEncoder(encoder)->EncodeOneFrame(pcm, length, frame, frameLength) ? 0 : -1);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioEncoder(ZEPHPLAY_AUDIOENCODER* encoder) {
  constexpr const char* kName = "ZEPHPLAY_CloseAudioEncoder";
  if (encoder == nullptr) {
    return zp::LogResult(kName, -1);
  }
  delete ToEncoder(encoder);
  return zp::LogResult(kName, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetAacSampleRate(uint32_t coderType) {
  return static_cast<int32_t>(zp::CADEC::AacRateOfCoder(coderType));
}

}  // extern "C"
