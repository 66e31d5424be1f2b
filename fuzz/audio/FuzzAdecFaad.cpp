// The AAC decoder on an ADTS stream: the first byte picks the coder type, the output capacity
// announced and whether output is resampled; the first unit goes through InputFirstAudioData.
// Units follow the ADTS frame length where a header says one, else a length byte.
#include <algorithm>

#include "FuzzDecoder.h"
#include "audio/AdtsHeader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  static constexpr uint32_t kCoders[8] = {12, 13, 15, 22, 23, 24, 25, 12};
  static constexpr uint32_t kTargets[4] = {8000, 16000, 44100, 48000};
  const uint8_t setup = data[0];
  const uint8_t capacityByte = data[1];
  auto decoder = fuzzaudio::Make(kCoders[setup & 7]);
  if ((setup & 0x08) != 0) {
    decoder->SetResample(true, 1, kTargets[(setup >> 4) & 3]);
    decoder->InitResamples();
  }
  if ((setup & 0x40) != 0) {
    decoder->InitAecResamples();
  }
  // 0 announces nothing; otherwise an even number of bytes up to GetOutSize().
  const uint16_t capacity = static_cast<uint16_t>(capacityByte == 0 ? 0 : std::min(capacityByte * 32, 8192));
  size_t at = 2;
  bool first = true;
  while (at < size) {
    size_t len = 0;
    zp::AdtsHeader header;
    if (zp::ParseAdtsHeader(data + at, size - at, &header) && header.frameLength >= 7) {
      len = std::min<size_t>(header.frameLength, size - at);
    } else {
      len = std::min<size_t>(1 + static_cast<size_t>(data[at]) * 4, size - at);
    }
    if (first) {
      decoder->InputFirstAudioData(data + at, static_cast<uint32_t>(len));
      first = false;
    }
    fuzzaudio::DecodeOne(decoder.get(), data + at, len, capacity);
    at += len;
  }
  return 0;
}
