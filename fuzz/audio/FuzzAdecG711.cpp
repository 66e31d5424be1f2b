// G.711 and PCM decoders on units of arbitrary length: the first byte picks the coder type,
// then each unit is a length byte (times 8, plus its low bits again so odd lengths occur) and
// that many bytes.
#include <algorithm>

#include "FuzzDecoder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) {
    return 0;
  }
  static constexpr uint32_t kCoders[4] = {17, 18, 20, 21};
  auto decoder = fuzzaudio::Make(kCoders[data[0] % 4]);
  size_t at = 1;
  while (at < size) {
    const size_t want = static_cast<size_t>(data[at]) * 8 + (data[at] & 7);
    ++at;
    const size_t len = std::min(want, size - at);
    const uint16_t n = fuzzaudio::DecodeOne(decoder.get(), data + at, len, 0);
    if (decoder->CoderType() >= 20) {
      fuzzaudio::Check(n == (len <= 5120 ? len / 2 : 0));
    } else {
      fuzzaudio::Check(n == (len % 80 == 0 && len <= 960 ? len : 0));
    }
    at += len;
  }
  return 0;
}
