// The audio player's and the stand-alone decoder's input paths on arbitrary bytes: byte 0 picks
// the coder type of the head (an unknown one included), byte 1 the decoder's output room; the
// rest is cut into frames at the lengths bytes 2 and 3 give, and each frame goes to
// InputAudioData, InputAudioFrame and AudioDecoderFrame, each in a buffer of its exact size.
// No sound device opens here, so the player only splits and queues.
#include <cstdlib>
#include <memory>
#include <vector>

#include "FuzzDecoder.h"
#include "audio/AudioHead.h"
#include "audio/CAudioDecoder.h"
#include "audio/CAudioPlayer.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("SDL_AUDIODRIVER", "zephplay-no-device", 1);
  fuzzaudio::QuietLibraries();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) {
    return 0;
  }
  static zp::CAudioPlayer player;
  if (!player.IsOpen()) {
    fuzzaudio::Check(player.Open() == 0);
  }
  uint8_t head[zp::kAudioHeadLength] = {1, 0, 0, 0x60};
  head[4] = static_cast<uint8_t>(data[0] % 28);
  head[6] = 104;
  head[8] = 1;
  head[10] = 0x40;  // 8000 Hz
  head[11] = 0x1F;
  fuzzaudio::Check(player.InputAudioHead(head, sizeof head) == 0);
  zp::CAudioDecoder decoder;
  fuzzaudio::Check(decoder.DecoderHead(head, sizeof head) == 0);
  const uint32_t room = static_cast<uint32_t>(data[1]) * 64;
  const size_t step = 1 + (static_cast<size_t>(data[2]) << 8 | data[3]) % 2048;
  std::vector<uint8_t> pcm(room > 0 ? room : 1);
  for (size_t at = 4; at < size; at += step) {
    const size_t len = std::min(step, size - at);
    std::unique_ptr<uint8_t[]> frame(new uint8_t[len]);
    std::memcpy(frame.get(), data + at, len);
    const auto n = static_cast<uint32_t>(len);
    fuzzaudio::Check(player.InputAudioData(frame.get(), n, 0) == (n < zp::kAudioFrameHead ? -1 : 0));
    fuzzaudio::Check(player.InputAudioFrame(frame.get(), n, 0) == 0);
    fuzzaudio::Check(player.CheckAudioData(n) == 0 || player.CheckAudioData(n) == -3);
    fuzzaudio::Check(decoder.AudioDecoderFrame(frame.get(), n, pcm.data(), room) <= room);
  }
  player.ResetBuffer();
  return 0;
}
