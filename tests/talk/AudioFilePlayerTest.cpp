// The audio file player as a client sees it, playing files made by our AAC encoder through SDL's
// disk audio driver.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <tuple>
#include <utility>

#include "audio/DiskAudio.h"
#include "common/TempDir.h"
#include "support/Deadline.h"
#include "zephplay.h"

namespace zp::test {
namespace {

// ADTS frames of a tone, made by our AAC encoder.
std::vector<std::vector<uint8_t>> AacFrames(uint32_t coder, size_t count) {
  const int rate = ZEPHPLAY_GetAacSampleRate(coder);
  ZEPHPLAY_AUDIOENCODER* encoder = nullptr;
  EXPECT_EQ(ZEPHPLAY_OpenAudioEncoder(&encoder, coder), 0);
  std::vector<std::vector<uint8_t>> frames;
  std::vector<int16_t> pcm(1024);
  std::vector<uint8_t> out(ZEPHPLAY_AUDIO_ENCODER_FRAME_SIZE(2048));
  for (size_t n = 0; frames.size() < count; ++n) {
    for (size_t i = 0; i < pcm.size(); ++i) {
      pcm[i] = static_cast<int16_t>(8000 * std::sin(2 * M_PI * 500 * static_cast<double>(n * 1024 + i) / rate));
    }
    uint32_t len = 0;
    if (ZEPHPLAY_AudioEncoderFrame(encoder, reinterpret_cast<uint8_t*>(pcm.data()), 2048, out.data(), &len) == 0) {
      frames.emplace_back(out.begin() + 12, out.begin() + len);
    }
  }
  ZEPHPLAY_CloseAudioEncoder(encoder);
  return frames;
}

// The frames back to back in a file of the test program's scratch directory.
std::string WriteFile(const std::string& name, const std::vector<std::vector<uint8_t>>& frames) {
  static const TempDir dir;
  std::string bytes;
  for (const auto& frame : frames) {
    bytes.append(frame.begin(), frame.end());
  }
  return dir.File(name, bytes);
}

using Message = std::pair<int32_t, uint32_t>;  // code, seconds

// A player with its messages recorded; a failing time getter reads as 0xFFFFFFFF.
struct Player {
  ZEPHPLAY_AFP* handle = nullptr;
  std::mutex mutex;
  std::condition_variable cv;
  std::vector<Message> messages;

  Player() {
    EXPECT_EQ(ZEPHPLAY_AFPOpen(&handle), 0);
    EXPECT_EQ(ZEPHPLAY_AFPSetFUNMsgCB(handle, reinterpret_cast<uint64_t>(this), &Player::OnMessage), 0);
  }
  ~Player() { ZEPHPLAY_AFPClose(handle); }
  static void OnMessage(int32_t code, uint32_t seconds, uint64_t user) {
    auto* self = reinterpret_cast<Player*>(user);
    std::lock_guard<std::mutex> lock(self->mutex);
    self->messages.emplace_back(code, seconds);
    self->cv.notify_all();
  }
  uint32_t Get(int32_t (*getter)(ZEPHPLAY_AFP*, uint32_t*)) const {
    uint32_t ms = 0xFFFFFFFF;
    return getter(handle, &ms) == 0 ? ms : 0xFFFFFFFF;
  }
  uint32_t Total() const { return Get(&ZEPHPLAY_AFPGetTotalTime); }
  uint32_t Played() const { return Get(&ZEPHPLAY_AFPGetPlayTime); }
  bool WaitForEnd() {
    std::unique_lock<std::mutex> lock(mutex);
    return cv.wait_for(lock, std::chrono::seconds(20), [&] { return !messages.empty() && messages.back().first == 2; });
  }
};

TEST(AudioFilePlayer, PlaysToTheEndWithProgress) {
  DiskAudio disk(1);
  // Coder 25 makes 21 ms frames, coder 12 makes 128 ms frames.
  for (const auto& [coder, frameMs, frames] : {std::tuple{25u, 21u, 150u}, std::tuple{12u, 128u, 20u}}) {
    SCOPED_TRACE(coder);
    const std::string path = WriteFile("afp" + std::to_string(coder), AacFrames(coder, frames));
    Player player;
    ASSERT_EQ(ZEPHPLAY_AFPStartPlay(player.handle, path.c_str()), 0);
    EXPECT_EQ(player.Total(), frames * frameMs);
    ASSERT_TRUE(player.WaitForEnd());
    EXPECT_EQ(player.Played(), player.Total());
    // Progress when a frame ends within its own length past a whole second; the end once.
    std::vector<Message> expected;
    for (uint32_t t = frameMs; t <= frames * frameMs; t += frameMs) {
      if (t % 1000 <= frameMs) {
        expected.emplace_back(1, t / 1000);
      }
    }
    expected.emplace_back(2, frames * frameMs / 1000);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    {
      std::lock_guard<std::mutex> lock(player.mutex);
      EXPECT_EQ(player.messages, expected);
    }
    ASSERT_EQ(ZEPHPLAY_AFPStopPlay(player.handle), 0);
    EXPECT_EQ(player.Played(), player.Total());  // the position outlives stop
  }
  // The tone was heard, not only silence.
  const std::vector<int16_t> played = disk.Samples();
  EXPECT_GT(std::count_if(played.begin(), played.end(), [](int16_t v) { return std::abs(v) > 2000; }), 20 * 1024);
}

TEST(AudioFilePlayer, RefusesWhatCannotPlayAndStopsAtABrokenHeader) {
  DiskAudio disk(1);
  std::vector<std::vector<uint8_t>> frames = AacFrames(25, 4);
  std::vector<std::vector<uint8_t>> broken = frames;
  broken[2][1] = 0x0F;  // the third frame's sync word
  const struct {
    const char* name;
    std::vector<std::vector<uint8_t>> content;
    uint64_t size;  // grown to this with zeros when non-zero
    bool readOnly;
    int32_t result;
    uint32_t total;
  } cases[] = {
      {"empty", {}, 0, false, 1, 0},
      {"garbage", {{1, 2, 3, 4, 5, 6, 7, 8, 9}}, 0, false, 1, 0},
      {"100MiB", {frames[0]}, 100u << 20, false, 1, 0},
      {"under100MiB", {frames[0]}, (100u << 20) - 1, false, 0, 21},
      {"brokenThird", broken, 0, false, 0, 2 * 21},
      {"readOnly", frames, 0, true, 1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.readOnly && geteuid() == 0) {
      continue;  // root opens anything for writing
    }
    const std::string path = WriteFile(c.name, c.content);
    if (c.size != 0) {
      std::filesystem::resize_file(path, c.size);
    }
    if (c.readOnly) {
      chmod(path.c_str(), 0444);
    }
    Player player;
    EXPECT_EQ(ZEPHPLAY_AFPStartPlay(player.handle, path.c_str()), c.result);
    EXPECT_EQ(player.Total(), c.total);
  }
  Player player;
  EXPECT_EQ(ZEPHPLAY_AFPStartPlay(player.handle, "/nonexistent/zp.aac"), 1);
  EXPECT_EQ(ZEPHPLAY_AFPStartPlay(player.handle, nullptr), 1);
  EXPECT_EQ(ZEPHPLAY_AFPOpen(nullptr), 1);
  EXPECT_EQ(ZEPHPLAY_AFPPause(nullptr, 1), 1);
}

TEST(AudioFilePlayer, PauseHoldsThePositionAndWidePathsPlay) {
  DiskAudio disk(20);
  const std::string path = WriteFile("pause", AacFrames(12, 40));
  Player player;
  const std::wstring wide(path.begin(), path.end());
  ASSERT_EQ(ZEPHPLAY_AFPStartPlayW(player.handle, wide.c_str()), 0);
  WaitUntil([&] { return player.Played() >= 3 * 128; }, std::chrono::seconds(10));
  ASSERT_EQ(ZEPHPLAY_AFPPause(player.handle, 1), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(100));  // a refill under way ends
  const uint32_t held = player.Played();
  std::this_thread::sleep_for(std::chrono::milliseconds(400));
  EXPECT_EQ(player.Played(), held);
  EXPECT_LT(held, player.Total());
  ASSERT_EQ(ZEPHPLAY_AFPPause(player.handle, 0), 0);
  EXPECT_TRUE(player.WaitForEnd());
  EXPECT_EQ(player.Played(), player.Total());
}

}  // namespace
}  // namespace zp::test
