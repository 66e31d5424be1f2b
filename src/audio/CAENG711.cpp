#include "audio/CAENG711.h"

#include <cstring>

#include "audio/G711.h"

namespace zp {

int CAENG711::EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) {
  const uint32_t samples = inLen / 2;
  // Copied to aligned samples: callers hand in byte buffers at any address.
  constexpr uint32_t kChunk = 512;
  int16_t pcm[kChunk];
  for (uint32_t done = 0; done < samples;) {
    const uint32_t n = samples - done < kChunk ? samples - done : kChunk;
    std::memcpy(pcm, in + 2 * done, 2 * n);
    if (m_nCoderType == 18) {
      g711::EncodeUlaw(pcm, out + done, static_cast<int>(n));
    } else {
      g711::EncodeAlaw(pcm, out + done, static_cast<int>(n));
    }
    done += n;
  }
  *outLen = samples;
  return 1;
}

}  // namespace zp
