// The encoder exports on random lengths: byte 0 picks the coder type, then each call takes an op
// byte (bit 0: ZEPHPLAY_AudioEncOneFrame or ZEPHPLAY_AudioEncoderFrame) and a 16-bit length
// (bit 1 of the op makes it exactly 8192). The PCM comes from the rest of the input, repeated
// to the length, in a buffer of exactly that size; the frame buffer is exactly the documented
// size, so a read or write past either is caught.
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "zephplay.h"

namespace {

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

constexpr uint32_t kCoders[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 20, 21, 22, 24, 25};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  av_log_set_level(AV_LOG_QUIET);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) {
    return 0;
  }
  ZEPHPLAY_AUDIOENCODER* encoder = nullptr;
  Check(ZEPHPLAY_OpenAudioEncoder(&encoder, kCoders[data[0] % (sizeof kCoders / sizeof kCoders[0])]) == 0);
  size_t at = 1;
  for (int calls = 0; at + 3 <= size && calls < 16; ++calls) {
    const uint8_t op = data[at];
    uint32_t length = (op & 2) != 0 ? 8192 : static_cast<uint32_t>(data[at + 1] << 8 | data[at + 2]);
    at += 3;
    std::vector<uint8_t> pcm(length);
    for (uint32_t i = 0; i < length && at < size; ++i) {
      pcm[i] = data[at + i % (size - at)];
    }
    std::vector<uint8_t> frame(ZEPHPLAY_AUDIO_ENCODER_FRAME_SIZE(length));
    uint32_t frameLength = 0;
    const uint32_t given = length;
    const int32_t rc = (op & 1) != 0
                           ? ZEPHPLAY_AudioEncOneFrame(encoder, pcm.data(), &length, frame.data(), &frameLength)
                           : ZEPHPLAY_AudioEncoderFrame(encoder, pcm.data(), length, frame.data(), &frameLength);
    Check(length <= given);
    if (rc == 0) {
      uint32_t payload = 0;
      std::memcpy(&payload, frame.data(), 4);
      Check(frameLength == payload + 12 && frameLength <= frame.size() && payload > 0);
    }
  }
  Check(ZEPHPLAY_CloseAudioEncoder(encoder) == 0);
  return 0;
}
