// The voice-engine decoder on runs of "00 01 LL CC" units as the wave-out splits them: the
// first byte picks the coder type (an unknown one included); a unit runs 4 + 2 * LL bytes,
// cut short when the fuzzer's bytes end or when CC asks for it, so length bytes lie.
#include <algorithm>

#include "FuzzDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) {
    return 0;
  }
  static constexpr uint32_t kCoders[14] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 26};
  auto decoder = fuzzaudio::Make(kCoders[data[0] % 14]);
  fuzzaudio::QuietLibraries();
  size_t at = 1;
  while (at < size) {
    size_t len = size - at;
    if (len >= 4) {
      const size_t announced = 4 + 2 * static_cast<size_t>(data[at + 2]);
      const size_t cut = (data[at + 3] & 0x80) != 0 ? (data[at + 3] & 0x7F) : 0;
      len = std::min(len, announced > cut ? announced - cut : 1);
    }
    const uint16_t n = fuzzaudio::DecodeOne(decoder.get(), data + at, len, 0);
    fuzzaudio::Check(n % 10 == 0);
    at += len;
  }
  return 0;
}
