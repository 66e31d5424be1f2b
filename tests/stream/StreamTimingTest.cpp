// The stream player's plain decisions and its cache, without threads or sleeping.
#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <tuple>
#include <vector>

#include "common/TempDir.h"
#include "player/CStreamCache.h"
#include "player/CStreamTiming.h"

namespace {

using zp::CStreamTiming;
using Span = CStreamTiming::Span;

TEST(StreamTiming, DelayControlDecisions) {
  // Buffering: audio alone starts, video needs the minimum span (or an unmeasurable one).
  EXPECT_FALSE(CStreamTiming::StartsPlaying(0, 0, {}, 2000));
  EXPECT_TRUE(CStreamTiming::StartsPlaying(0, 3, {}, 2000));
  EXPECT_FALSE(CStreamTiming::StartsPlaying(40, 0, {true, 1999}, 2000));
  EXPECT_TRUE(CStreamTiming::StartsPlaying(50, 0, {true, 2000}, 2000));
  EXPECT_TRUE(CStreamTiming::StartsPlaying(5, 0, {false, 0}, 2000));
  // Catch-up at the maximum, a user's speed kept there and overridden below it.
  EXPECT_EQ(CStreamTiming::DelaySpeed({true, 6000}, 6000, 0), 1);
  EXPECT_EQ(CStreamTiming::DelaySpeed({true, 9000}, 6000, 2), 2);
  EXPECT_EQ(CStreamTiming::DelaySpeed({true, 5999}, 6000, 1), 0);
  EXPECT_EQ(CStreamTiming::DelaySpeed({false, 0}, 6000, 3), 0);
  // Catch-up (speed 1) shows pictures at three quarters of their interval, other speeds at it; the
  // pacing by that interval is the play timing's test.
  EXPECT_EQ(CStreamTiming::PacedInterval(40, 0), 40u);
  EXPECT_EQ(CStreamTiming::PacedInterval(40, 1), 30u);
  EXPECT_EQ(CStreamTiming::PacedInterval(41, 1), 30u);
  EXPECT_EQ(CStreamTiming::PacedInterval(40, 2), 40u);
  // Buffer full: mode 2 by frames, mode 0 by span, mode 1 never, an empty queue never.
  using Full = std::tuple<uint32_t, bool, int, Span, bool>;
  for (const auto& [mode, strict, frames, span, full] : std::initializer_list<Full>{
           {2, true, 501, {}, true},           {2, true, 500, {}, false},
           {2, false, 51, {}, true},           {2, false, 50, {}, false},
           {0, true, 9, {true, 26000}, true},  {0, true, 9, {true, 25999}, false},
           {0, false, 9, {true, 16000}, true}, {0, false, 9, {false, 0}, false},
           {1, true, 999, {true, 99999}, false}, {0, false, 0, {true, 99999}, false}}) {
    EXPECT_EQ(CStreamTiming::IsBufferFull(mode, strict, frames, span, 6000), full)
        << mode << " " << frames << " " << span.nMs;
  }
  EXPECT_EQ(CStreamTiming::CachedWait(40), 40u);
  EXPECT_EQ(CStreamTiming::CachedWait(3600000), 1000u);
  // Growth by how full the 1001 slots are.
  EXPECT_EQ(CStreamTiming::GrowthFactor(249, 1001), 8u);
  EXPECT_EQ(CStreamTiming::GrowthFactor(250, 1001), 4u);
  EXPECT_EQ(CStreamTiming::GrowthFactor(500, 1001), 2u);
  EXPECT_EQ(CStreamTiming::GrowthFactor(800, 1001), 0u);
}

// Append and read back through the file; stepping back passes over auxiliary entries only;
// positions, times and searches answer from the index.
TEST(StreamCache, AppendReadStepAndSearch) {
  zp::CStreamCache cache;
  ASSERT_TRUE(cache.Open());
  const uint32_t I = 0x63643030, P = 0x63643130, A = 0x63643230, X = 0x63643930;
  const uint32_t types[] = {I, P, X, X, P, A, I, X, P};
  for (size_t i = 0; i < std::size(types); ++i) {
    const std::vector<uint8_t> data(100 + i, static_cast<uint8_t>(i));
    ASSERT_TRUE(cache.Append(data.data(), static_cast<uint32_t>(data.size()), types[i], 5000000 + i * 400000));
  }
  for (size_t i = 0; i < std::size(types); ++i) {
    zp::QueueFrameHead head;
    const uint8_t* data = nullptr;
    ASSERT_TRUE(cache.ReadNext(&head, &data));
    EXPECT_EQ(head.nType, types[i]);
    EXPECT_EQ(head.nLength, 100 + i);
    EXPECT_EQ(head.u64Stamp, 5000000 + i * 400000);
    EXPECT_EQ(std::vector<uint8_t>(data, data + head.nLength), std::vector<uint8_t>(100 + i, static_cast<uint8_t>(i)));
  }
  uint32_t seconds = 0;
  EXPECT_FALSE(cache.PlayedSeconds(&seconds));  // at the end: the last entry's time
  EXPECT_EQ(seconds, 3u);                      // 3.2 s rounds to 3
  cache.SetPosition(4);
  EXPECT_TRUE(cache.StepBack());  // 4 -> 3 (X) -> 2 (X) -> 1 (P)
  EXPECT_EQ(cache.Position(), 1);
  EXPECT_FALSE(cache.StepBack());
  EXPECT_EQ(cache.FindAtOrAfter(0, 5000001, false), 6);
  EXPECT_EQ(cache.FindAtOrAfter(0, 5000001, true), 1);
  EXPECT_EQ(cache.FindKeyBackward(5), 0);
  EXPECT_EQ(cache.FindForward(1, false), 6);
  EXPECT_EQ(cache.FindForward(2, true), 4);
  cache.SetPosition(2);
  EXPECT_TRUE(cache.PlayedSeconds(&seconds));
  EXPECT_EQ(seconds, 1u);  // 0.8 s rounds to 1
  EXPECT_TRUE(cache.BufferedSeconds(&seconds));
  EXPECT_EQ(seconds, 3u);  // 8.2 s - 5.8 s in whole seconds: 8 - 5
  cache.Rewind();
  EXPECT_EQ(cache.Count(), 0);
  EXPECT_FALSE(cache.BufferedSeconds(&seconds));
}

// The cache file lives in $TMPDIR under the prefix "zephplay": one at a time, none after close.
TEST(StreamCache, FileRemovedAtCloseAndAtReopen) {
  TempDir dir;
  setenv("TMPDIR", dir.path().c_str(), 1);
  auto files = [&] {
    std::vector<std::string> out;
    for (const auto& e : std::filesystem::directory_iterator(dir.path())) {
      out.push_back(e.path().filename().string());
    }
    return out;
  };
  zp::CStreamCache cache;
  ASSERT_TRUE(cache.Open());
  ASSERT_TRUE(cache.Open());
  const auto open = files();
  ASSERT_EQ(open.size(), 1u);
  EXPECT_EQ(open[0].rfind("zephplay", 0), 0u);
  cache.Close();
  EXPECT_TRUE(files().empty());
  EXPECT_FALSE(cache.Append(nullptr, 0, 0x63643030, 0));
}

}  // namespace
