// The stream exports as a client uses them, on streams made by the sample maker; pictures are
// judged by a bare libavcodec decode, recordings by reading them back.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "AvReference.h"
#include "SampleEncoder.h"
#include "StreamWriter.h"
#include "media/MediaTestSupport.h"
#include "support/Deadline.h"
#include "zephplay.h"

namespace {

using namespace std::chrono_literals;
using zp::samples::EncodedFrame;
using zp::test::Picture;
using zp::test::WaitUntil;

constexpr uint32_t kTypeI = 0x63643030;
constexpr uint32_t kTypeP = 0x63643130;
constexpr uint64_t kBase = 1000000000;  // stamps as recorders send them, far from 0

std::vector<EncodedFrame> Video(int frames, int gop) {
  auto video = zp::samples::EncodeVideo({.width = 128, .height = 128, .frames = frames, .gop = gop});
  EXPECT_EQ(video.size(), static_cast<size_t>(frames));
  return video;
}

// A play handle with a stream player, and every picture its decoder gave.
struct Player {
  ZEPHPLAY_PLAYHANDLE* h = nullptr;
  std::mutex m;
  std::vector<Picture> pictures;

  explicit Player(uint32_t queueBytes = 1 << 20, uint32_t unpaced = 0) {
    EXPECT_EQ(ZEPHPLAY_OpenPlayHandle(&h), 0);
    EXPECT_EQ(ZEPHPLAY_OpenStream(h, nullptr, 0, queueBytes, unpaced), 0);
    EXPECT_EQ(ZEPHPLAY_OpenStream(h, nullptr, 0, queueBytes, unpaced), -1);
    ZEPHPLAY_SetDecCallBack(h, reinterpret_cast<uint64_t>(this), &Player::OnPicture);
  }
  ~Player() { EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(h), 0); }
  static void OnPicture(uint64_t user, const uint8_t* y, const uint8_t* u, const uint8_t* v, int32_t yStride,
                        int32_t uvStride, int32_t, int32_t width, int32_t height, uint64_t) {
    auto* self = reinterpret_cast<Player*>(user);
    Picture pic = zp::test::PackPicture(y, u, v, yStride, uvStride, width, height);
    std::lock_guard<std::mutex> lock(self->m);
    self->pictures.push_back(std::move(pic));
  }
  uint64_t Shown() {
    uint64_t stamp = 0;
    ZEPHPLAY_GetPlayStamp(h, &stamp);
    return stamp;
  }
  uint32_t PlayTime() {
    uint32_t s = 0;
    ZEPHPLAY_GetPlayTime(h, &s);
    return s;
  }
  int32_t Push(const EncodedFrame& f, uint64_t base = kBase) {
    return ZEPHPLAY_InputFrameData(h, f.data.data(), static_cast<uint32_t>(f.data.size()), f.key ? kTypeI : kTypeP,
                                   base + f.stampUs);
  }
  // Frames [from, to) of video; true when every one was taken.
  bool PushAll(const std::vector<EncodedFrame>& video, size_t from, size_t to, uint64_t base = kBase) {
    return std::all_of(video.begin() + from, video.begin() + to,
                       [&](const EncodedFrame& f) { return Push(f, base) == 0; });
  }
};

// Bytes pushed in random pieces with garbage, while the paused player lets its queue fill up:
// frames before the first key frame are dropped, the queue grows and finally refuses (-3), the
// refused bytes pushed again are taken, and every frame is decoded once as libavcodec decodes it.
TEST(StreamExports, StreamBytesDecodeAsLibavcodecAndRefusalsLoseNothing) {
  const auto lead = Video(4, 10);     // P frames of another stream before the first key frame
  const auto video = Video(1500, 1);  // all key frames: a full queue is never trimmed to one
  const auto sound = zp::samples::EncodeAudio({.codec = zp::samples::AudioCodec::HisiG711A, .frames = 200});
  auto frames = zp::samples::MergeFrames(std::vector<EncodedFrame>(lead.begin() + 1, lead.end()), {}, 0);
  const auto withSound = zp::samples::MergeFrames(video, sound, zp::samples::kStreamAudioTag);
  frames.insert(frames.end(), withSound.begin(), withSound.end());
  const auto stream = zp::samples::MakeStream(frames, {.garbageMax = 40, .leadingGarbageMax = 100});
  const auto reference = zp::test::DecodeAllPictures("h264", video);

  Player player(4096);
  ZEPHPLAY_Pause(player.h, 1);
  int refusals = 0;
  for (const auto& piece : zp::samples::CutIntoPieces(stream.bytes, 7, 3000)) {
    int32_t result = 0;
    while ((result = ZEPHPLAY_InputStreamData(player.h, piece.data(), static_cast<uint32_t>(piece.size()))) != 0) {
      ASSERT_EQ(result, -3);
      if (refusals++ == 0) {
        ZEPHPLAY_Pause(player.h, 0);
      }
      std::this_thread::sleep_for(1ms);
    }
  }
  EXPECT_GT(refusals, 0);
  // The queue grew by the bytes while few frames were held, and refused once the slots ran out:
  // the library's log says so where CTest puts it (no log when run elsewhere).
  const char* logDir = std::getenv("ZEPHPLAY_LOG_DIR");
  const std::string log = logDir == nullptr ? "" : zp::test::ReadText(std::string(logDir) + "/libzephplay.log");
  for (const char* line :
       {"CPlayerStream::InputVideoFrame ReAllocFrame <25% x8", "CPlayerStream::InputVideoFrame ReAllocFrame >80%"}) {
    EXPECT_TRUE(log.empty() || log.find(line) != std::string::npos) << line;
  }
  // Frames still waiting in the parser go on at the next call, and the decoder may keep the
  // last pictures back until more input comes.
  size_t decoded = 0;
  ASSERT_TRUE(WaitUntil([&] {
    ZEPHPLAY_InputStreamData(player.h, nullptr, 0);
    std::lock_guard<std::mutex> lock(player.m);
    return (decoded = player.pictures.size()) + 3 >= reference.size();
  })) << decoded << " of " << reference.size();
  std::this_thread::sleep_for(100ms);
  std::lock_guard<std::mutex> lock(player.m);
  ASSERT_LE(player.pictures.size(), reference.size());
  for (size_t i = 0; i < player.pictures.size(); ++i) {
    ASSERT_TRUE(player.pictures[i] == reference[i]) << "picture " << i;
  }
}

// Mode 2 shows at once; mode 0 (unpaced) holds pictures until the queued video spans the minimum
// delay, and goes on showing when the stamps jump hours forward and back.
TEST(StreamExports, ImmediateShowsAtOnceDelayWaitsForTheMinimum) {
  const auto video = Video(100, 25);
  for (uint32_t mode : {ZEPHPLAY_STREAM_IMMEDIATE, ZEPHPLAY_STREAM_DELAY}) {
    SCOPED_TRACE(mode);
    Player player(1 << 20, 1);
    EXPECT_EQ(ZEPHPLAY_SetStreamMode(player.h, mode), 0);
    ASSERT_TRUE(player.PushAll(video, 0, 25));  // one second
    if (mode == ZEPHPLAY_STREAM_IMMEDIATE) {
      EXPECT_TRUE(WaitUntil([&] { return player.Shown() != 0; }));
      continue;
    }
    std::this_thread::sleep_for(400ms);
    EXPECT_EQ(player.Shown(), 0u);
    ASSERT_TRUE(player.PushAll(video, 25, 60));  // 2.4 s
    EXPECT_TRUE(WaitUntil([&] { return player.Shown() >= kBase; }));
    // Each jump brings more than the minimum delay, or the player would rightly buffer on.
    const uint64_t hours = 3600ull * 1000000 * 3;
    ASSERT_TRUE(player.PushAll(video, 0, 75, kBase + hours));
    EXPECT_TRUE(WaitUntil([&] { return player.Shown() >= kBase + hours; })) << player.Shown();
    ASSERT_TRUE(player.PushAll(video, 0, 75, kBase + 10000000));  // three hours back
    EXPECT_TRUE(WaitUntil([&] { return player.Shown() < kBase + hours; })) << player.Shown();
  }
}

// Mode 1 caches what arrives: seek by time and by stamp, step forward and back, played time
// (whole seconds) and cached frames left.
TEST(StreamExports, CachedModeSeeksAndSteps) {
  const auto video = Video(100, 25);  // key frames at 0, 1, 2 and 3 s
  Player player;
  ASSERT_EQ(ZEPHPLAY_SetStreamMode(player.h, ZEPHPLAY_STREAM_CACHED), 0);
  ASSERT_EQ(ZEPHPLAY_Pause(player.h, 1), 0);
  ASSERT_TRUE(player.PushAll(video, 0, video.size()));
  uint32_t left = 0;
  EXPECT_TRUE(WaitUntil([&] { return ZEPHPLAY_GetVideoFrameNum(player.h, &left) == 0 && left > 90; }));
  EXPECT_EQ(ZEPHPLAY_SetPlayTime(player.h, 2000), 0);
  EXPECT_EQ(player.PlayTime(), 2u);
  EXPECT_TRUE(ZEPHPLAY_GetVideoFrameNum(player.h, &left) == 0 && left == 49u) << left;  // the key frame at 2 s played
  EXPECT_EQ(ZEPHPLAY_SetPlayTime(player.h, 3100), -1);
  EXPECT_EQ(ZEPHPLAY_SeekIFramStamp(player.h, kBase + 2500000), 0);
  EXPECT_EQ(player.PlayTime(), 3u);
  EXPECT_EQ(ZEPHPLAY_SeekIFramStamp(player.h, kBase + 5000000), -1);
  EXPECT_EQ(ZEPHPLAY_PlayOneFrameData(player.h, 0, 1), -1);  // no key frame after 3 s
  EXPECT_EQ(ZEPHPLAY_PlayOneFrameData(player.h, 1, 0), 0);   // back to the one at 2 s
  EXPECT_TRUE(ZEPHPLAY_GetVideoFrameNum(player.h, &left) == 0 && left == 49u) << left;
  EXPECT_EQ(ZEPHPLAY_PlayOneFrameData(player.h, 0, 0), 0);  // the next picture, key or not
  EXPECT_TRUE(ZEPHPLAY_GetVideoFrameNum(player.h, &left) == 0 && left == 48u) << left;
  EXPECT_EQ(ZEPHPLAY_Pause(player.h, 0), 0);
  EXPECT_TRUE(WaitUntil([&] { return ZEPHPLAY_GetVideoFrameNum(player.h, &left) == -1; }));
  EXPECT_EQ(player.PlayTime(), 4u);  // the last frame's time, 3.96 s
  EXPECT_GE(player.Shown(), kBase + 3000000);
  // Backwards by key frames into the first second (the step back never reaches entry 0, kept).
  EXPECT_EQ(ZEPHPLAY_SetPlayBackIFrame(player.h, 1), 0);
  EXPECT_TRUE(WaitUntil([&] { return player.Shown() <= kBase + 1000000; })) << player.Shown();
  // A mode change starts an empty cache.
  EXPECT_EQ(ZEPHPLAY_SetStreamMode(player.h, ZEPHPLAY_STREAM_CACHED), 0);
  EXPECT_EQ(ZEPHPLAY_SetPlayTime(player.h, 0), -1);
}

std::vector<uint8_t> Attr(uint32_t magic, uint32_t videoCodec, uint8_t picClass) {
  std::vector<uint8_t> attr(ZEPHPLAY_STREAM_ATTR_SIZE, 0);
  std::memcpy(attr.data(), &magic, 4);
  std::memcpy(attr.data() + 4, &videoCodec, 4);
  attr[100] = picClass;
  return attr;
}

// Recording started mid-stream at a key frame holds every frame pushed until it stops. The
// attribute's queue sizes, decoder kept or made again (with a reset), recording stopped by a
// second attribute; short or foreign records ignored.
TEST(StreamExports, RecordingAndStreamAttrSizesResets) {
  TempDir dir;
  const std::string path = (dir.path() / "mid.grec").string();
  const auto video = Video(75, 25);
  Player player(100000);
  ASSERT_TRUE(player.PushAll(video, 0, 25));
  EXPECT_EQ(ZEPHPLAY_GetPlayRecordStatus(player.h), -1);
  ASSERT_EQ(ZEPHPLAY_StartPlayRecord(player.h, path.c_str(), 1), 0);
  ASSERT_TRUE(player.PushAll(video, 25, 60));
  EXPECT_GT(ZEPHPLAY_GetPlayRecordStatus(player.h), 512);
  ASSERT_EQ(ZEPHPLAY_StopPlayRecord(player.h), 0);
  ASSERT_TRUE(player.PushAll(video, 60, 75));
  const auto reader = mediatest::Open(path);
  ASSERT_NE(reader, nullptr);
  const auto recorded = mediatest::ReadAll(reader.get());
  ASSERT_EQ(recorded.size(), 35u);
  for (size_t i = 0; i < recorded.size(); ++i) {
    const EncodedFrame& f = video[25 + i];
    EXPECT_EQ(std::tie(recorded[i].type, recorded[i].stamp, recorded[i].data),
              std::make_tuple(f.key ? 0x63643000u : 0x63643100u, kBase + f.stampUs, f.data)) << "frame " << 25 + i;
  }
  ZEPHPLAY_Pause(player.h, 1);
  const struct {
    std::vector<uint8_t> attr;
    uint32_t length;
    bool emptied;
    uint32_t capacity;
  } steps[] = {{Attr(ZEPHPLAY_STREAM_ATTR_MAGIC, 0, 6), 283, false, 100000},
               {Attr(0x12345678, 0, 6), 284, false, 100000},
               {Attr(ZEPHPLAY_STREAM_ATTR_MAGIC, 0, 6), 284, true, 0x1800000},
               {Attr(ZEPHPLAY_STREAM_ATTR_MAGIC, 0, 6), 284, false, 0x1800000},
               {Attr(ZEPHPLAY_STREAM_ATTR_MAGIC, 0, 4), 284, true, 0x600000},
               {Attr(ZEPHPLAY_STREAM_ATTR_MAGIC, 4, 4), 300, true, 0x600000}};
  for (size_t i = 0; i < std::size(steps); ++i) {
    SCOPED_TRACE(i);
    ZEPHPLAY_ResetStream(player.h);
    player.PushAll(video, 0, 10);
    ASSERT_EQ(ZEPHPLAY_StartPlayRecord(player.h, path.c_str(), 1), 0);
    const bool wasValid = i >= 3;  // the player holds a valid attribute from step 2 on
    EXPECT_EQ(ZEPHPLAY_SetStreamAttr(player.h, steps[i].attr.data(), steps[i].length), 0);
    uint32_t free = 0;
    EXPECT_EQ(ZEPHPLAY_GetSourceBufferRemain(player.h, &free), 0);
    const uint32_t held = steps[i].capacity - free;
    EXPECT_EQ(held == 0, steps[i].emptied) << held;
    EXPECT_EQ(ZEPHPLAY_GetPlayRecordStatus(player.h) == -1, steps[i].emptied || (wasValid && steps[i].length >= 284));
    ZEPHPLAY_StopPlayRecord(player.h);
  }
  EXPECT_EQ(ZEPHPLAY_StopPlayRecord(player.h), 1);
}

// Input from one thread, control from another, close from a third; TSan watches and the
// deadline catches a deadlock.
TEST(StreamExports, InputControlAndCloseFromThreeThreads) {
  TempDir dir;
  const auto video = Video(50, 10);
  const auto stream = zp::samples::MakeStream(zp::samples::MergeFrames(video, {}, 0), {});
  const std::string rec = (dir.path() / "busy.grec").string();
  Player player(1 << 16, 1);
  EXPECT_EQ(zp::test::RunWithDeadline("input, control or close", [&] {
    std::atomic<bool> closed{false};
    std::thread input([&] {
      for (int round = 0; round < 30; ++round) {
        for (const auto& piece : zp::samples::CutIntoPieces(stream.bytes, round, 5000)) {
          ZEPHPLAY_InputStreamData(player.h, piece.data(), static_cast<uint32_t>(piece.size()));
        }
        for (const auto& f : video) {
          player.Push(f, kBase + round * 2000000ull);
        }
      }
    });
    std::thread control([&] {
      const auto attr = Attr(ZEPHPLAY_STREAM_ATTR_MAGIC, 0, static_cast<uint8_t>(4));
      for (int i = 0; !closed || i < 200; ++i) {
        uint32_t value = 0;
        switch (i % 8) {
          case 0: ZEPHPLAY_SetStreamMode(player.h, static_cast<uint32_t>(i / 8 % 3)); break;
          case 1: ZEPHPLAY_ResetStream(player.h); break;
          case 2: ZEPHPLAY_SetStreamAttr(player.h, attr.data(), static_cast<uint32_t>(attr.size())); break;
          case 3: ZEPHPLAY_SeekIFramStamp(player.h, kBase + i * 10000ull); ZEPHPLAY_SetPlayTime(player.h, i); break;
          case 4: ZEPHPLAY_PlayOneFrameData(player.h, i & 1, 0); ZEPHPLAY_Pause(player.h, i & 16); break;
          case 5: ZEPHPLAY_StartPlayRecord(player.h, rec.c_str(), 1); ZEPHPLAY_GetPlayTime(player.h, &value); break;
          case 6: ZEPHPLAY_StopPlayRecord(player.h); ZEPHPLAY_GetVideoFrameNum(player.h, &value); break;
          default: ZEPHPLAY_SetDelayTime(player.h, 100, 500); ZEPHPLAY_SetPlayRate(player.h, i % 7 - 2); break;
        }
        if (i > 2000) {
          break;
        }
      }
    });
    std::thread closer([&] {
      std::this_thread::sleep_for(300ms);
      ZEPHPLAY_CloseStream(player.h);
      closed = true;
    });
    input.join();
    control.join();
    closer.join();
    return ZEPHPLAY_CloseStream(player.h);
  }), 0);
}

}  // namespace
