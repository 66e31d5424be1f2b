// The timing decisions of the players, driven by a fake millisecond clock.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <tuple>

#include "player/CPlayTiming.h"

namespace {

using zp::CPlayTiming;

TEST(PlayTiming, Intervals) {
  using Case = std::tuple<uint64_t, uint64_t, int32_t, bool, uint32_t, uint32_t>;
  for (const auto& [current, next, rate, back, general, file] : std::initializer_list<Case>{
      {1000000, 1040499, 0, false, 40, 40},
      {1000000, 1040500, 0, false, 41, 41},
      {1000000, 999999, 0, false, 40, 40},      // next below current
      {0, 5000000, 0, false, 40, 40},           // no current picture yet
      {1000000, 1040000, 2, false, 20, 40},     // the file form ignores rates above 0
      {1000000, 1040000, -2, false, 160, 10},   // the forms differ on purpose
      {1000000, 1040000, -1, false, 80, 20},
      {1000000, 1040000, 8, false, 5, 40},
      {1040000, 1000000, 0, true, 40, 40},      // backwards: the stamps swap
      {1080000, 1000000, 1, true, 80, 40},
      {1000000, 1080000, 0, true, 40, 80},
      {1000000, 1000000 + 0x100000000ull + 40000, 0, false, 40, 40},  // truncated to 32 bits
  }) {
    SCOPED_TRACE(testing::Message() << current << " -> " << next << " rate " << rate);
    EXPECT_EQ(CPlayTiming::GeneralInterval(current, next, rate, back), general);
    EXPECT_EQ(CPlayTiming::FileInterval(current, next, rate), file);
  }
}

TEST(PlayTiming, RateRules) {
  EXPECT_FALSE(CPlayTiming::IsKeyFrameOnly(4, false));
  EXPECT_TRUE(CPlayTiming::IsKeyFrameOnly(5, false));
  EXPECT_TRUE(CPlayTiming::IsKeyFrameOnly(-3, true));
  for (const auto& [from, to, reset] : {std::tuple{0, 1, false}, {0, 4, false}, {0, 5, true}, {2, -1, true},
                                         {-1, -2, false}, {-2, 0, true}, {-2, 6, true}, {5, 8, true}}) {
    EXPECT_EQ(CPlayTiming::RateChangeResetsPacing(from, to), reset) << from << " -> " << to;
  }
}

// A fake clock: each row advances it and asks whether a picture of the given interval is due.
TEST(PlayTiming, PacingWithCarry) {
  uint32_t now = 0xFFFFFF00u;  // the tick wraps during the run
  CPlayTiming timing([&] { return now; });
  using Step = std::tuple<uint32_t, uint32_t, bool, uint32_t>;
  for (const auto& [advance, interval, due, carry] : std::initializer_list<Step>{
      {39, 40, false, 0},
      {1, 40, true, 0},     // exactly on time
      {45, 40, true, 5},    // 5 ms late: carried
      {30, 40, false, 5},
      {12, 40, true, 7},
      {100, 40, true, 67},  // a long stall
      {0, 40, true, 27},    // the carry pays for pictures at once
      {0, 40, false, 27},
      {13, 40, false, 27},  // a carry below the interval does not hurry
      {27, 40, true, 27},
      {0, 6000, true, 0},   // an interval above 5000 ms restarts the pacing
      {0, 40, false, 0},
  }) {
    now += advance;
    const uint32_t wait = timing.MsUntilDue(interval);
    EXPECT_EQ(timing.IsDue(interval), due) << "at " << now;
    EXPECT_EQ(wait == 0, due);
    EXPECT_EQ(timing.Carry(), carry) << "at " << now;
  }
  now += 25;
  timing.ResetPacing();
  EXPECT_EQ(timing.MsUntilDue(40), 40u);
}

TEST(PlayTiming, FlashWaitsHalfASecondAfterADraw) {
  uint32_t now = 1000;
  CPlayTiming timing([&] { return now; });
  timing.NoteDraw();
  now += 499;
  EXPECT_FALSE(timing.FlashDue(true));
  EXPECT_TRUE(timing.FlashPending());
  EXPECT_FALSE(timing.TakePendingFlash());
  now += 500;
  EXPECT_TRUE(timing.TakePendingFlash());
  EXPECT_FALSE(timing.TakePendingFlash());
  EXPECT_TRUE(timing.FlashDue(false));
}

}  // namespace
