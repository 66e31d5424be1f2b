// The Nellymoser decoder on units of arbitrary length (a length byte, then that many bytes):
// 64 bytes or more decode to 256 samples, fewer to nothing.
#include <algorithm>

#include "FuzzDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto decoder = fuzzaudio::Make(19);
  fuzzaudio::QuietLibraries();
  size_t at = 0;
  while (at < size) {
    const size_t want = data[at];
    ++at;
    const size_t len = std::min(want, size - at);
    const uint16_t n = fuzzaudio::DecodeOne(decoder.get(), data + at, len, 0);
    fuzzaudio::Check(n == 0 || n == 256);
    at += len;
  }
  return 0;
}
