// The playback exports as a client uses them: libzephplay.so and zephplay.h only.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "common/TempDir.h"
#include "support/Deadline.h"
#include "zephplay.h"

namespace {

using Call = std::function<int32_t(ZEPHPLAY_PLAYHANDLE*)>;

void Dec(uint64_t, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t, int32_t, int32_t, int32_t,
         uint64_t) {}

// Every export that looks a player up, with harmless arguments.
std::vector<std::pair<const char*, Call>> HandleCalls() {
  static uint32_t out = 0;
  static ZEPHPLAY_POINT point{0, 0};
  static ZEPHPLAY_RECORD_INFO info{};
  return {
      {"SetPlayWnd", [](auto h) { return ZEPHPLAY_SetPlayWnd(h, nullptr); }},
      {"SetPlayWndEx", [](auto h) { return ZEPHPLAY_SetPlayWndEx(h, nullptr, 0, 0); }},
      {"AdjustedWndRect", [](auto h) { return ZEPHPLAY_AdjustedWndRect(h); }},
      {"SetDecodeVideo", [](auto h) { return ZEPHPLAY_SetDecodeVideo(h, 1); }},
      {"FlashWnd", [](auto h) { return ZEPHPLAY_FlashWnd(h); }},
      {"SetColorParams", [](auto h) { return ZEPHPLAY_SetColorParams(h, 50, 50, 50, 50, 0); }},
      {"GetColorParams", [](auto h) { return ZEPHPLAY_GetColorParams(h, &out, &out, &out, &out); }},
      {"ShowOSDText", [](auto h) { return ZEPHPLAY_ShowOSDText(h, 0, "", 0, 0, 0, 0, 0); }},
      {"SetMirrorMode", [](auto h) { return ZEPHPLAY_SetMirrorMode(h, 0); }},
      {"SetZoom", [](auto h) { return ZEPHPLAY_SetZoom(h, 100, 0, 0); }},
      {"SetOffsetStart", [](auto h) { return ZEPHPLAY_SetOffsetStart(h, 0, &point); }},
      {"SetOffsetEnd", [](auto h) { return ZEPHPLAY_SetOffsetEnd(h, &point); }},
      {"Pause", [](auto h) { return ZEPHPLAY_Pause(h, 0); }},
      {"SetPlayRate", [](auto h) { return ZEPHPLAY_SetPlayRate(h, 0); }},
      {"GetPlayTime", [](auto h) { return ZEPHPLAY_GetPlayTime(h, &out); }},
      {"PlaySound", [](auto h) { return ZEPHPLAY_PlaySound(h); }},
      {"StopSound", [](auto h) { return ZEPHPLAY_StopSound(h); }},
      {"SetVolume", [](auto h) { return ZEPHPLAY_SetVolume(h, 50); }},
      {"SetGain", [](auto h) { return ZEPHPLAY_SetGain(h, 1.0); }},
      {"CaptureBMP", [](auto h) { return ZEPHPLAY_CaptureBMP(h, "/nonexistent/x.bmp"); }},
      {"CaptureJPEG", [](auto h) { return ZEPHPLAY_CaptureJPEG(h, "/nonexistent/x.jpg"); }},
      {"SetPlayIFrame", [](auto h) { return ZEPHPLAY_SetPlayIFrame(h, 0); }},
      {"SetPlayBackIFrame", [](auto h) { return ZEPHPLAY_SetPlayBackIFrame(h, 0); }},
      {"CloseFile", [](auto h) { return ZEPHPLAY_CloseFile(h); }},
      {"GetFileInfo", [](auto h) { return ZEPHPLAY_GetFileInfo(h, &info); }},
      {"Play", [](auto h) { return ZEPHPLAY_Play(h); }},
      {"Stop", [](auto h) { return ZEPHPLAY_Stop(h); }},
      {"OneByOne", [](auto h) { return ZEPHPLAY_OneByOne(h); }},
      {"PlayOneIFrame", [](auto h) { return ZEPHPLAY_PlayOneIFrame(h, 1); }},
      {"SetPlayTime", [](auto h) { return ZEPHPLAY_SetPlayTime(h, 0); }},
      {"SetEndCallBack", [](auto h) { return ZEPHPLAY_SetEndCallBack(h, 0, nullptr); }},
      {"SetDecCallBack", [](auto h) { return ZEPHPLAY_SetDecCallBack(h, 0, Dec); }},
      {"SetUsrDataBack", [](auto h) { return ZEPHPLAY_SetUsrDataBack(h, 0, nullptr); }},
      {"SetDisplayCallBack", [](auto h) { return ZEPHPLAY_SetDisplayCallBack(h, 0, nullptr); }},
      {"SetDecCBEx", [](auto h) { return ZEPHPLAY_SetDecCBEx(h, 0, nullptr); }},
      {"SetAudioDecDataCallBack", [](auto h) { return ZEPHPLAY_SetAudioDecDataCallBack(h, nullptr, 0); }},
      {"SetSizeCallBack", [](auto h) { return ZEPHPLAY_SetSizeCallBack(h, nullptr, 0); }},
  };
}

struct Seen {
  std::atomic<uint32_t> pictures{0};
  std::atomic<uint32_t> ends{0};
  std::atomic<uint32_t> lastEndKind{99};
};

}  // namespace

// A handle without a player is refused by every lookup; a missing file opens and fails later.
TEST(PlaybackExports, HandlesWithoutAPlayerAreRefusedAndAMissingFileFailsLater) {
  TempDir dir;
  const std::string missing = (dir.path() / "missing.grec").string();
  ZEPHPLAY_PLAYHANDLE* h = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenPlayHandle(&h), 0);
  for (const auto& [name, call] : HandleCalls()) {
    EXPECT_EQ(call(nullptr), -1) << name << " with a null handle";
    EXPECT_EQ(call(h), -1) << name << " with a handle that has no player";
  }
  EXPECT_EQ(ZEPHPLAY_OpenFile(nullptr, "x.grec", 0), -1);
  EXPECT_EQ(ZEPHPLAY_SetSourceBufCallBack(h, 1, h, 2), -1);
  EXPECT_EQ(ZEPHPLAY_SearchFrame(), -1);

  EXPECT_EQ(ZEPHPLAY_OpenFile(h, missing.c_str(), 0), 0);
  EXPECT_EQ(ZEPHPLAY_OpenFile(h, missing.c_str(), 0), -1) << "a handle takes one player";
  ZEPHPLAY_RECORD_INFO info{};
  EXPECT_EQ(ZEPHPLAY_GetFileInfo(h, &info), 1);
  EXPECT_EQ(ZEPHPLAY_Play(h), 1);
  EXPECT_EQ(ZEPHPLAY_SetPlayTime(h, 0), 1);
  EXPECT_EQ(ZEPHPLAY_OneByOne(h), 0);
  EXPECT_EQ(ZEPHPLAY_CaptureJPEG(h, (dir.path() / "never.jpg").c_str()), -1);
  EXPECT_EQ(ZEPHPLAY_SetEndCallBack(h, 0, nullptr), 0);
  EXPECT_EQ(ZEPHPLAY_SetSourceBufCallBack(h, 0, nullptr, 0), -1);
  ZEPHPLAY_MEDIA_INFO media{};
  media.nSize = sizeof(media);
  EXPECT_EQ(ZEPHPLAY_GetMediaInfo(missing.c_str(), &media), -1);
  EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(h), 0);
}

TEST(PlaybackExports, ASampleRecordingPlaysEveryFrameAndEndsOnce) {
  constexpr uint32_t kFrames = 50;
  TempDir dir;
  const std::string sample = (dir.path() / "sample.grec").string();
  const std::string make = std::string(SAMPLEMAKER_PATH) + " -f grec --frames " + std::to_string(kFrames) +
                           " --gop 25 --audio aac -o " + sample + " > /dev/null";
  ASSERT_EQ(std::system(make.c_str()), 0);

  ZEPHPLAY_MEDIA_INFO media{};
  media.nSize = sizeof(media);
  ASSERT_EQ(ZEPHPLAY_GetMediaInfo(sample.c_str(), &media), 0);
  EXPECT_EQ(std::make_tuple(media.nFileKind, media.nVideoCodec, media.nVideoFrames, media.nKeyFrames, media.nAudioCodec),
            std::make_tuple(ZEPHPLAY_FILE_GREC, ZEPHPLAY_VCODEC_H264, kFrames, 2u, ZEPHPLAY_ACODEC_AAC));
  EXPECT_GT(media.nWidth, 0u);

  Seen seen;
  ZEPHPLAY_PLAYHANDLE* h = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenPlayHandle(&h), 0);
  ASSERT_EQ(ZEPHPLAY_OpenFile(h, sample.c_str(), 0), 0);
  ZEPHPLAY_RECORD_INFO info{};
  ASSERT_EQ(ZEPHPLAY_GetFileInfo(h, &info), 0);
  EXPECT_EQ(info.nTotalMinSecond, media.info.nTotalMinSecond);
  const auto user = reinterpret_cast<uint64_t>(&seen);
  const auto countPicture = [](uint64_t user, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t,
                               int32_t, int32_t, int32_t, uint64_t) { reinterpret_cast<Seen*>(user)->pictures++; };
  ASSERT_EQ(ZEPHPLAY_SetDecCallBack(h, user, countPicture), 0);
  ASSERT_EQ(ZEPHPLAY_SetEndCallBack(h, user, [](uint32_t kind, uint64_t user) {
              reinterpret_cast<Seen*>(user)->lastEndKind = kind;
              reinterpret_cast<Seen*>(user)->ends++;
            }), 0);
  ASSERT_EQ(ZEPHPLAY_Play(h), 0);
  zp::test::WaitUntil([&] { return seen.ends != 0; });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));  // a second end would come now
  EXPECT_EQ(seen.ends.load(), 1u);
  EXPECT_EQ(seen.lastEndKind.load(), ZEPHPLAY_END_FORWARD);
  EXPECT_EQ(seen.pictures.load(), kFrames);
  EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(h), 0);
}
