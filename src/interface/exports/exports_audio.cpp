// Audio player, audio decoder and AMR exports: look up, forward, log, return.
#include <new>

#include "audio/AmrCodec.h"
#include "audio/CAudioDecoder.h"
#include "audio/CAudioPlayer.h"
#include "interface/exports/ExportSupport.h"

using zp::CAudioDecoder;
using zp::CAudioPlayer;

namespace {

CAudioPlayer* ToPlayer(ZEPHPLAY_AUDIOPLAYER* player) { return reinterpret_cast<CAudioPlayer*>(player); }
CAudioDecoder* ToDecoder(ZEPHPLAY_AUDIODECODER* decoder) { return reinterpret_cast<CAudioDecoder*>(decoder); }

int32_t OpenPlayer(const char* name, ZEPHPLAY_AUDIOPLAYER** out, bool withDelay, uint32_t delayMs) {
  if (out == nullptr) {
    return zp::LogResult(name, -1);
  }
  return zp::LogResult(name, zp::Guarded(name, [&]() -> int32_t {
                         auto* player = new (std::nothrow) CAudioPlayer();
                         if (player == nullptr) {
                           return -1;
                         }
                         if (withDelay) {
                           player->SetAudioDelay(delayMs);
                         }
                         if (player->Open() != 0) {
                           delete player;
                           return -1;
                         }
                         *out = reinterpret_cast<ZEPHPLAY_AUDIOPLAYER*>(player);
                         return 0;
                       }));
}

// Runs a setter that cannot fail on a player; -1 only for a NULL one.
template <typename Body>
int32_t WithPlayer(const char* name, ZEPHPLAY_AUDIOPLAYER* player, Body body) {
  if (player == nullptr) {
    return zp::LogResult(name, -1);
  }
  body(ToPlayer(player));
  return zp::LogResult(name, 0);
}

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioPlayer(ZEPHPLAY_AUDIOPLAYER** player) {
  return OpenPlayer("ZEPHPLAY_OpenAudioPlayer", player, false, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioPlayerEx(ZEPHPLAY_AUDIOPLAYER** player, uint32_t delayMs) {
  return OpenPlayer("ZEPHPLAY_OpenAudioPlayerEx", player, true, delayMs);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputAudioHead(ZEPHPLAY_AUDIOPLAYER* player, const uint8_t* head,
                                                           uint32_t length) {
  constexpr const char* kName = "ZEPHPLAY_InputAudioHead";
  if (player == nullptr) {
    return zp::LogResult(kName, -1);
  }
  // Makes a decoder and opens the device.
  return zp::LogResult(kName, zp::Guarded(kName, [&] { return ToPlayer(player)->InputAudioHead(head, length); }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputAudioData(ZEPHPLAY_AUDIOPLAYER* player, const uint8_t* frame,
                                                           uint32_t length, uint64_t stamp) {
  constexpr const char* kName = "ZEPHPLAY_InputAudioData";
  if (player == nullptr) {
    return zp::LogFrameResult(kName, -1);
  }
  // A new ADTS layout restarts the device.
  return zp::LogFrameResult(kName,
                        zp::Guarded(kName, [&] { return ToPlayer(player)->InputAudioData(frame, length, stamp); }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputAudioFrame(ZEPHPLAY_AUDIOPLAYER* player, const uint8_t* payload,
                                                            uint32_t length, uint64_t stamp) {
  constexpr const char* kName = "ZEPHPLAY_InputAudioFrame";
  if (player == nullptr) {
    return zp::LogFrameResult(kName, -1);
  }
  return zp::LogFrameResult(kName,
                        zp::Guarded(kName, [&] { return ToPlayer(player)->InputAudioFrame(payload, length, stamp); }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CheckAudioData(ZEPHPLAY_AUDIOPLAYER* player, uint32_t length) {
  if (player == nullptr) {
    return zp::LogFrameResult("ZEPHPLAY_CheckAudioData", -1);
  }
  return zp::LogFrameResult("ZEPHPLAY_CheckAudioData", ToPlayer(player)->CheckAudioData(length));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlayAudioSound(ZEPHPLAY_AUDIOPLAYER* player, int32_t flag) {
  return WithPlayer("ZEPHPLAY_PlayAudioSound", player, [flag](CAudioPlayer* p) { p->PlayAudioSound(flag); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioVolume(ZEPHPLAY_AUDIOPLAYER* player, uint16_t percent) {
  return WithPlayer("ZEPHPLAY_SetAudioVolume", player, [percent](CAudioPlayer* p) { p->WaveOut().SetVolume(percent); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioPlayerGain(ZEPHPLAY_AUDIOPLAYER* player, double gain) {
  return WithPlayer("ZEPHPLAY_SetAudioPlayerGain", player, [gain](CAudioPlayer* p) { p->WaveOut().SetGain(gain); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioDelay(ZEPHPLAY_AUDIOPLAYER* player, uint32_t delayMs) {
  return WithPlayer("ZEPHPLAY_SetAudioDelay", player, [delayMs](CAudioPlayer* p) { p->SetAudioDelay(delayMs); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetNoDataEmptyCount(ZEPHPLAY_AUDIOPLAYER* player, int32_t count) {
  return WithPlayer("ZEPHPLAY_SetNoDataEmptyCount", player,
                    [count](CAudioPlayer* p) { p->WaveOut().SetNoDataEmptyCount(count); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPureAudioMode(ZEPHPLAY_AUDIOPLAYER* player) {
  return WithPlayer("ZEPHPLAY_SetPureAudioMode", player, [](CAudioPlayer* p) { p->SetPureAudioMode(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioAcc1Chn(ZEPHPLAY_AUDIOPLAYER* player, int32_t /*value*/) {
  return WithPlayer("ZEPHPLAY_SetAudioAcc1Chn", player, [](CAudioPlayer*) {});
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ResetAudioPlayer(ZEPHPLAY_AUDIOPLAYER* player) {
  return WithPlayer("ZEPHPLAY_ResetAudioPlayer", player, [](CAudioPlayer* p) { p->ResetBuffer(); });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioPlayer(ZEPHPLAY_AUDIOPLAYER* player) {
  return WithPlayer("ZEPHPLAY_CloseAudioPlayer", player, [](CAudioPlayer* p) { delete p; });
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioDecoder(ZEPHPLAY_AUDIODECODER** decoder) {
  constexpr const char* kName = "ZEPHPLAY_OpenAudioDecoder";
  if (decoder == nullptr) {
    return zp::LogResult(kName, -1);
  }
  return zp::LogResult(kName, zp::Guarded(kName, [&]() -> int32_t {
                         *decoder = reinterpret_cast<ZEPHPLAY_AUDIODECODER*>(new CAudioDecoder());
                         return 0;
                       }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioDecoderHead(ZEPHPLAY_AUDIODECODER* decoder, const uint8_t* head,
                                                             uint32_t length) {
  constexpr const char* kName = "ZEPHPLAY_AudioDecoderHead";
  if (decoder == nullptr) {
    return zp::LogResult(kName, -1);
  }
  return zp::LogResult(kName, zp::Guarded(kName, [&] { return ToDecoder(decoder)->DecoderHead(head, length); }));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioDecoderWaveFormat(ZEPHPLAY_AUDIODECODER* decoder,
                                                                   uint16_t* channels, uint32_t* samplesPerSec,
                                                                   uint32_t* avgBytesPerSec,
                                                                   uint16_t* bitsPerSample) {
  constexpr const char* kName = "ZEPHPLAY_AudioDecoderWaveFormat";
  if (decoder == nullptr || channels == nullptr || samplesPerSec == nullptr || avgBytesPerSec == nullptr ||
      bitsPerSample == nullptr) {
    return zp::LogResult(kName, -1);
  }
  const bool known = ToDecoder(decoder)->WaveFormat(channels, samplesPerSec, avgBytesPerSec, bitsPerSample);
  return zp::LogResult(kName, known ? 0 : -1);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioDecoderFrame(ZEPHPLAY_AUDIODECODER* decoder, const uint8_t* data,
                                                              uint32_t length, uint8_t* pcm,
                                                              uint32_t* pcmLength) {
  constexpr const char* kName = "ZEPHPLAY_AudioDecoderFrame";
  if (decoder == nullptr || data == nullptr || pcm == nullptr || pcmLength == nullptr) {
    return zp::LogFrameResult(kName, -1);
  }
  *pcmLength = ToDecoder(decoder)->AudioDecoderFrame(data, length, pcm, *pcmLength);
  return zp::LogFrameResult(kName, 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioDecoder(ZEPHPLAY_AUDIODECODER* decoder) {
  if (decoder == nullptr) {
    return zp::LogResult("ZEPHPLAY_CloseAudioDecoder", -1);
  }
  delete ToDecoder(decoder);
  return zp::LogResult("ZEPHPLAY_CloseAudioDecoder", 0);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Decode_Init(void** state) { return zp::amr::DecodeInit(state); }

ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Decode_Frame(void* state, const uint8_t* frame, int32_t length, int16_t* pcm,
                                                    int32_t bfi) {
  return zp::amr::DecodeFrame(state, frame, length, pcm, bfi);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Decode_Exit(void* state) { return zp::amr::DecodeExit(state); }

ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Encode_Init(void** state, int32_t dtx) {
  return zp::amr::EncodeInit(state, dtx);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Encode_Frame(void* state, const int16_t* pcm, uint8_t* frame, int32_t mode) {
  return zp::amr::EncodeFrame(state, pcm, frame, mode);
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Encode_Exit(void* state) { return zp::amr::EncodeExit(state); }

}  // extern "C"
