// The AMR decoder on a run of storage-format frames: each takes the length its ToC byte gives,
// cut short at the end of the bytes, or a length byte's worth for a type that has none; every
// call yields 160 samples.
#include <algorithm>

#include "FuzzDecoder.h"
#include "audio/AmrCodec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto decoder = fuzzaudio::Make(14);
  size_t at = 0;
  while (at < size) {
    const int bytes = zp::amr::FrameBytes(data[at]);
    const size_t want = bytes > 0 ? static_cast<size_t>(bytes) : 1 + (data[at] & 0x07);
    const size_t len = std::min(want, size - at);
    const uint16_t n = fuzzaudio::DecodeOne(decoder.get(), data + at, len, 0);
    fuzzaudio::Check(n == zp::amr::kFrameSamples);
    at += len;
  }
  return 0;
}
