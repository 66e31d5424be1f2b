#pragma once
// Drives one decoder over units cut from the fuzzer's bytes. Every unit sits in a buffer of its
// own exact size and the output in one of exactly GetOutSize() bytes, so a read past the unit
// or a write past the output is caught; a reported length beyond the output aborts.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "audio/CADEC.h"

namespace fuzzaudio {

inline void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

// libavcodec logs every odd unit; the fuzzers would spend their time writing it out.
inline void QuietLibraries() { av_log_set_level(AV_LOG_QUIET); }

// Decodes one unit with `capacity` bytes announced on entry (0: none announced; only the AAC
// decoder reads it).
inline uint16_t DecodeOne(zp::CADEC* decoder, const uint8_t* data, size_t size, uint16_t capacity) {
  std::unique_ptr<uint8_t[]> unit(new uint8_t[size > 0 ? size : 1]);
  if (size > 0) {
    std::memcpy(unit.get(), data, size);
  }
  const size_t outBytes = static_cast<size_t>(decoder->GetOutSize());
  std::unique_ptr<int16_t[]> out(new int16_t[outBytes / 2]);
  uint16_t n = capacity;
  decoder->DecoderFrame(size > 0 ? unit.get() : nullptr, static_cast<int32_t>(size), out.get(), &n);
  Check(static_cast<size_t>(n) * 2 <= outBytes);
  if (capacity != 0) {
    Check(static_cast<size_t>(n) * 2 <= capacity);
  }
  return n;
}

// A decoder from the factory, started the way the audio player starts one.
inline std::unique_ptr<zp::CADEC> Make(uint32_t coderType, uint32_t nFrmLen = 1) {
  std::unique_ptr<zp::CADEC> decoder(zp::CADEC::S_InitAudioDecoder(coderType, 0));
  Check(decoder != nullptr);
  decoder->InitDecoder(nFrmLen);
  return decoder;
}

}  // namespace fuzzaudio
