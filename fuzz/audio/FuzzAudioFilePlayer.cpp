// The audio file player's loader on random files: the input is written to a scratch file and
// started. No sound device opens here, so the frames are only loaded; the total time must be a
// whole number of frames that fit in the file.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "audio/CAudioFilePlayer.h"
#include "platform/TempFile.h"

namespace {

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("SDL_AUDIODRIVER", "zephplay-no-device", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = zp::platform::TempDirectory() + "zpfuzz-afp-" + std::to_string(getpid());
  std::FILE* f = std::fopen(path.c_str(), "wb");
  Check(f != nullptr);
  Check(std::fwrite(data, 1, size, f) == size);
  Check(std::fclose(f) == 0);
  zp::CAudioFilePlayer player;
  const int32_t result = player.Start(path);
  const uint32_t total = player.TotalTimeMs();
  // At most one 7-byte frame per 7 bytes, each at most 1024000 / 7350 ms.
  Check(result == 0 ? (total > 0 && total <= size / 7 * 139) : total == 0);
  player.Stop();
  Check(player.TotalTimeMs() == total);
  return 0;
}
