// The group clock's arithmetic, driven tick by tick without a thread or a real clock.
#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "player/CGroupClock.h"

namespace {

using zp::CGroupClock;

constexpr uint32_t kKey = 0x63643030;
constexpr uint32_t kPredicted = 0x63643130;
constexpr uint32_t kAudio = 0x63643230;
constexpr uint64_t kBase = 5000000000;  // recorder stamps, far from 0

// A started clock: a key frame at kBase, the newest frame 10 s later, the first tick at 1000 ms.
CGroupClock Started() {
  CGroupClock clock;
  clock.NoteFrame(kKey, kBase);
  clock.NoteFrame(kPredicted, kBase + 10000000);
  clock.Tick(1000);
  return clock;
}

TEST(GroupClock, StartsAtTheBeginStampAndAdvancesByRate) {
  for (const auto& [rate, after100ms] : {std::pair<int32_t, uint64_t>{0, 100000}, {1, 100000}, {2, 200000},
                                         {8, 800000}, {-1, 100000}, {-4, 25000}}) {
    CGroupClock clock = Started();
    EXPECT_EQ(clock.PlayStamp(), kBase);
    clock.SetRate(rate);
    clock.Tick(1100);
    EXPECT_EQ(clock.PlayStamp() - kBase, after100ms) << "rate " << rate;
  }
}

TEST(GroupClock, PauseStopsItAndTheTickWraps) {
  CGroupClock clock = Started();
  clock.SetPaused(true);
  clock.Tick(5000);
  EXPECT_EQ(clock.PlayStamp(), kBase);
  clock.SetPaused(false);
  clock.Tick(5010);  // the paused time is not made up
  EXPECT_EQ(clock.PlayStamp(), kBase + 10000);
  CGroupClock wrapped;
  wrapped.NoteFrame(kKey, kBase);
  wrapped.NoteFrame(kPredicted, kBase + 1000000);
  wrapped.Tick(0xFFFFFFF6u);
  wrapped.Tick(10);
  EXPECT_EQ(wrapped.PlayStamp(), kBase + 20000);
}

TEST(GroupClock, StallsJustShortOfFiftyMsPastTheNewestFrame) {
  CGroupClock clock;
  clock.NoteFrame(kKey, kBase);
  clock.NoteFrame(kPredicted, kBase + 200000);
  uint32_t now = 0;
  for (int i = 0; i < 100; ++i, now += 10) {
    clock.Tick(now);
  }
  EXPECT_EQ(clock.PlayStamp(), kBase + 240000);  // one more step would reach newest + 50 ms
  clock.NoteFrame(kPredicted, kBase + 400000);  // input resumes: so does the clock
  clock.Tick(now);
  EXPECT_EQ(clock.PlayStamp(), kBase + 250000);
}

TEST(GroupClock, ReverseRunsBackToTheBeginStamp) {
  CGroupClock clock = Started();
  clock.Tick(1300);
  clock.SetReverse(true);
  clock.Tick(1400);
  EXPECT_EQ(clock.PlayStamp(), kBase + 200000);
  clock.Tick(1700);  // would pass the begin stamp: stays
  EXPECT_EQ(clock.PlayStamp(), kBase + 200000);
  clock.Tick(1850);
  EXPECT_EQ(clock.PlayStamp(), kBase + 50000);
}

TEST(GroupClock, AdmitsUpToHalfASecondAheadAndBackwardsLetsFarFramesThrough) {
  CGroupClock clock = Started();
  const uint64_t play = clock.PlayStamp();
  // Late frames are shown: forwards those behind, backwards those ahead.
  for (const auto& [reverse, offset, admitted] :
       {std::tuple{false, -3000000, true}, {false, 499999, true}, {false, 500000, false}, {true, 600000, true},
        {true, -499999, true}, {true, -500000, false}, {true, -5000000, false}, {true, -5000001, true}}) {
    clock.SetReverse(reverse);
    EXPECT_EQ(clock.Admit(play + offset), admitted) << reverse << " " << offset;
  }
}

TEST(GroupClock, FramesMoveTheStampsAsTheirTypesSay) {
  CGroupClock clock;
  clock.NoteFrame(kAudio, kBase + 500000);
  EXPECT_EQ(clock.BeginStamp(), kBase + 500000);
  clock.NoteFrame(kAudio, kBase + 300000);  // earlier sound before any picture starts earlier
  EXPECT_EQ(clock.BeginStamp(), kBase + 300000);
  clock.NoteFrame(kKey, kBase + 900000);  // the first key frame restarts everything from itself
  EXPECT_EQ(clock.BeginStamp(), kBase + 900000);
  EXPECT_EQ(clock.NewestStamp(), kBase + 900000);
  clock.Tick(0);
  EXPECT_EQ(clock.PlayStamp(), kBase + 900000);
  clock.NoteFrame(kAudio, kBase + 100000);  // earlier sound after it: no longer
  clock.NoteFrame(kPredicted, kBase + 100000);
  EXPECT_EQ(clock.BeginStamp(), kBase + 900000);
  EXPECT_EQ(clock.PlayStamp(), kBase + 900000);
  clock.NoteFrame(kKey, kBase + 800000);  // an earlier key frame of another channel
  EXPECT_EQ(clock.BeginStamp(), kBase + 800000);
  EXPECT_EQ(clock.PlayStamp(), 0u);
  clock.NoteFrame(1, 0);  // a stream attribute forgets it all
  EXPECT_EQ(clock.BeginStamp(), 0u);
  EXPECT_EQ(clock.NewestStamp(), 0u);
  clock.NoteFrame(kPredicted, kBase + 700000);  // and the next frame begins again
  EXPECT_EQ(clock.BeginStamp(), kBase + 700000);
}

TEST(GroupClock, SetPlayStampIsIgnoredPastTheNewestWhileRunning) {
  CGroupClock clock = Started();
  clock.SetPlayStamp(kBase + 10000000);
  EXPECT_EQ(clock.PlayStamp(), kBase);
  clock.SetPlayStamp(kBase + 4000000);
  EXPECT_EQ(clock.PlayStamp(), kBase + 4000000);
  EXPECT_EQ(clock.PlayedSeconds(), 4u);
  clock.SeekPlayStamp(kBase + 20000000);
  EXPECT_EQ(clock.PlayStamp(), kBase + 20000000);
  CGroupClock idle;
  idle.SetPlayStamp(kBase);  // a clock not yet started takes any stamp
  EXPECT_EQ(idle.PlayStamp(), kBase);
}

}  // namespace
