#pragma once
// Running encoded units through one of our decoders the way the wave-out does.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "audio/CADEC.h"

namespace zp::test {

using DecoderPtr = std::unique_ptr<CADEC>;

// A decoder from the factory, InitDecoder already called with nFrmLen.
inline DecoderPtr MakeDecoder(uint32_t coderType, uint32_t nFrmLen = 1) {
  DecoderPtr decoder(CADEC::S_InitAudioDecoder(coderType, 0));
  if (decoder != nullptr && decoder->InitDecoder(nFrmLen) == 0) {
    decoder.reset();
  }
  return decoder;
}

// Decodes one unit with the output capacity given on entry; the samples written.
inline std::vector<int16_t> DecodeUnit(CADEC* decoder, const uint8_t* data, size_t size) {
  std::vector<int16_t> out(static_cast<size_t>(decoder->GetOutSize()) / 2);
  uint16_t n = static_cast<uint16_t>(decoder->GetOutSize());
  decoder->DecoderFrame(data, static_cast<int32_t>(size), out.data(), &n);
  EXPECT_LE(n, out.size()) << "more samples reported than the output holds";
  out.resize(std::min<size_t>(n, out.size()));
  return out;
}

inline std::vector<int16_t> DecodeUnit(CADEC* decoder, const std::vector<uint8_t>& unit) {
  return DecodeUnit(decoder, unit.data(), unit.size());
}

}  // namespace zp::test
