// The multi-play-back group as a client uses it: channels made by the sample maker, each of its
// own picture width so that routing shows, fed faster than real time so that only the group's
// clock paces what is shown.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include "SampleEncoder.h"
#include "support/Deadline.h"
#include "zephplay.h"

namespace {

using namespace std::chrono_literals;
using zp::samples::EncodedFrame;
using zp::test::RunWithDeadline;
using zp::test::WaitUntil;

constexpr uint32_t kTypeI = 0x63643030;
constexpr uint32_t kTypeP = 0x63643130;
constexpr uint64_t kBase = 1000000000;
constexpr uint64_t kOffsetUs = 120000;  // each channel's stamps lie this much after the one before

struct Shown {
  uint64_t stamp;
  uint64_t clock;
};

// A group of `count` channels (numbers 100, 101, ...) and what each one showed.
struct Group {
  ZEPHPLAY_MPBHANDLE h = 0;
  std::mutex m;
  std::vector<std::vector<Shown>> shown;
  std::vector<std::vector<int32_t>> decodedWidths;
  struct Slot {
    Group* group;
    size_t channel;
  };
  std::vector<Slot> slots;

  explicit Group(int32_t count) : shown(count), decodedWidths(count), slots(count) {
    EXPECT_EQ(ZEPHPLAY_MPBOpenPlayHandle(&h, count), 0);
    std::vector<uint32_t> channels(count);
    for (int32_t i = 0; i < count; ++i) {
      channels[i] = 100 + i;
      slots[i] = {this, static_cast<size_t>(i)};
      EXPECT_EQ(ZEPHPLAY_MPBSetDisplayCallBack(h, i, reinterpret_cast<uint64_t>(&slots[i]), &Group::OnShown), 0);
      EXPECT_EQ(ZEPHPLAY_MPBSetDecCallBack(h, i, reinterpret_cast<uint64_t>(&slots[i]), &Group::OnDecoded), 0);
    }
    EXPECT_EQ(ZEPHPLAY_MPBOpenStream(h, channels.data(), nullptr, 0, 1 << 20, 0), 0);
    EXPECT_EQ(ZEPHPLAY_MPBOpenStream(h, channels.data(), nullptr, 0, 1 << 20, 0), 1);
  }
  ~Group() { EXPECT_EQ(ZEPHPLAY_MPBClosePlayHandle(h), 0); }
  static void OnShown(uint64_t, uint32_t, uint32_t, uint64_t stamp, uint32_t, uint32_t, uint64_t user) {
    auto* slot = reinterpret_cast<Slot*>(user);
    uint64_t clock = 0;
    ZEPHPLAY_MPBGetPlayStamp(slot->group->h, &clock);
    std::lock_guard<std::mutex> lock(slot->group->m);
    slot->group->shown[slot->channel].push_back({stamp, clock});
  }
  static void OnDecoded(uint64_t user, const uint8_t*, const uint8_t*, const uint8_t*, int32_t, int32_t, int32_t,
                        int32_t width, int32_t, uint64_t) {
    auto* slot = reinterpret_cast<Slot*>(user);
    std::lock_guard<std::mutex> lock(slot->group->m);
    slot->group->decodedWidths[slot->channel].push_back(width);
  }
  std::vector<Shown> Seen(size_t channel) {
    std::lock_guard<std::mutex> lock(m);
    return shown[channel];
  }
  uint64_t Clock() {
    uint64_t stamp = 0;
    EXPECT_EQ(ZEPHPLAY_MPBGetPlayStamp(h, &stamp), 0);
    return stamp;
  }
  int32_t Push(size_t channel, const EncodedFrame& f) {
    return ZEPHPLAY_MPBInputFrameData(h, 100 + static_cast<uint32_t>(channel), f.data.data(),
                                      static_cast<uint32_t>(f.data.size()), f.key ? kTypeI : kTypeP,
                                      kBase + channel * kOffsetUs + f.stampUs);
  }
};

std::vector<EncodedFrame> Channel(size_t channel, int frames) {
  return zp::samples::EncodeVideo({.width = 128 + 32 * static_cast<int>(channel), .height = 128, .frames = frames,
                                   .gop = 25});
}

// Four channels, the last of which falls silent after a second: every frame of each channel is
// decoded by its own player, pictures are shown in stamp order up to the last, never half a
// second or more ahead of the shared clock, and the silent channel holds nobody up. (Pictures
// less than 16 ms apart may be skipped by the drawing limit, so not every one is shown.)
TEST(GroupExports, ChannelsPlayInStepWithTheClock) {
  constexpr size_t kChannels = 4;
  constexpr int kFrames = 50;
  std::vector<std::vector<EncodedFrame>> video;
  for (size_t c = 0; c < kChannels; ++c) {
    video.push_back(Channel(c, c + 1 == kChannels ? 25 : kFrames));
  }
  Group group(kChannels);
  for (int i = 0; i < kFrames; ++i) {
    for (size_t c = 0; c < kChannels; ++c) {
      if (i < static_cast<int>(video[c].size())) {
        ASSERT_EQ(group.Push(c, video[c][i]), 0);
      }
    }
  }
  ASSERT_TRUE(WaitUntil([&] {
    for (size_t c = 0; c < kChannels; ++c) {
      const auto seen = group.Seen(c);
      if (seen.empty() || seen.back().stamp != kBase + c * kOffsetUs + video[c].back().stampUs) {
        return false;
      }
    }
    return true;
  }));
  std::unique_lock<std::mutex> lock(group.m);
  for (size_t c = 0; c < kChannels; ++c) {
    EXPECT_EQ(group.decodedWidths[c], std::vector<int32_t>(video[c].size(), 128 + 32 * static_cast<int32_t>(c)));
    const auto& seen = group.shown[c];
    for (size_t i = 0; i < seen.size(); ++i) {
      EXPECT_TRUE(i == 0 || seen[i].stamp >= seen[i - 1].stamp);  // a redraw repeats one
      EXPECT_LT(seen[i].stamp, seen[i].clock + 500000) << "channel " << c << " ran ahead of the clock";
    }
  }
  // The clock counts from the first key frame and stalls just short of 50 ms past the newest.
  lock.unlock();
  const uint64_t newest = kBase + 2 * kOffsetUs + video[0].back().stampUs;
  EXPECT_TRUE(WaitUntil([&] { return group.Clock() + 50000 >= newest; }));
  EXPECT_LT(group.Clock(), newest + 50000);
  uint32_t seconds = 0;
  EXPECT_EQ(ZEPHPLAY_MPBGetPlayTime(group.h, &seconds), 0);
  EXPECT_EQ(seconds, 2u);
}

// Pause holds the clock still, a rate of 4 runs it at least twice as fast as real time, and the
// stamp setters behave as callers know them.
TEST(GroupExports, PauseRateAndStampSetters) {
  const auto video = Channel(0, 250);
  Group group(1);
  for (const auto& f : video) {
    ASSERT_EQ(ZEPHPLAY_MPBInputFrameData(group.h, 7, f.data.data(), static_cast<uint32_t>(f.data.size()),
                                         f.key ? kTypeI : kTypeP, kBase + f.stampUs),
              0)
        << "a group of one takes any channel";
  }
  ASSERT_TRUE(WaitUntil([&] { return group.Seen(0).size() >= 3; }));
  EXPECT_EQ(ZEPHPLAY_MPBPause(group.h, 1), 0);
  const uint64_t paused = group.Clock();
  std::this_thread::sleep_for(150ms);
  EXPECT_EQ(group.Clock(), paused);
  EXPECT_EQ(ZEPHPLAY_MPBSetPlayRate(group.h, 4), 0);  // un-pauses too
  const auto start = std::chrono::steady_clock::now();
  const uint64_t before = group.Clock();
  std::this_thread::sleep_for(300ms);
  const uint64_t after = group.Clock();
  const auto wallUs = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
  EXPECT_GT(after - before, 2 * static_cast<uint64_t>(wallUs.count()) - 2 * 20000);

  EXPECT_EQ(ZEPHPLAY_MPBSetPlayStamp(group.h, kBase + video.back().stampUs + 1), 0);
  EXPECT_LT(group.Clock(), kBase + video.back().stampUs) << "past the newest frame: ignored";
  EXPECT_EQ(ZEPHPLAY_MPBPause(group.h, 1), 0);
  EXPECT_EQ(ZEPHPLAY_MPBSeekIFramStamp(group.h, kBase + 1000000), 1);
  EXPECT_EQ(group.Clock(), kBase + 1000000);
  int32_t buffered = -1;
  EXPECT_EQ(ZEPHPLAY_MPBGetVideoFrameMaxSecond(group.h, &buffered), 0);
  EXPECT_GT(buffered, 0);
}

// Handles and indexes out of range answer 1; a close from a player's own thread is refused;
// control from one thread while another pushes never deadlocks.
TEST(GroupExports, RefusalsAndControlWhilePlaying) {
  ZEPHPLAY_MPBHANDLE none = 0;
  EXPECT_EQ(ZEPHPLAY_MPBOpenPlayHandle(&none, 16), 1);
  EXPECT_EQ(ZEPHPLAY_MPBOpenPlayHandle(&none, 0), 1);
  EXPECT_EQ(none, 0u);
  EXPECT_EQ(ZEPHPLAY_MPBPause(0, 1), 1);
  EXPECT_EQ(ZEPHPLAY_MPBClosePlayHandle(0), 1);
  const auto video = Channel(0, 100);
  Group group(2);
  EXPECT_EQ(ZEPHPLAY_MPBFlashWnd(group.h, 2), 1);
  EXPECT_EQ(ZEPHPLAY_MPBStopPlayRecord(group.h, 2), 1);
  EXPECT_EQ(ZEPHPLAY_MPBInputFrameData(group.h, 99, video[0].data.data(), 16, kTypeI, kBase), 1) << "unknown channel";

  static std::atomic<int32_t> closeResult{0};
  closeResult = 0;
  ZEPHPLAY_MPBSetDisplayCallBack(group.h, 1, group.h, [](uint64_t, uint32_t, uint32_t, uint64_t, uint32_t, uint32_t,
                                                         uint64_t h) { closeResult = ZEPHPLAY_MPBClosePlayHandle(h); });
  RunWithDeadline("input beside control", [&] {
    std::thread input([&] {
      for (const auto& f : video) {
        group.Push(0, f);
        group.Push(1, f);
      }
    });
    for (int i = 0; i < 40; ++i) {
      ZEPHPLAY_MPBPause(group.h, i % 2);
      ZEPHPLAY_MPBSetPlayRate(group.h, (i % 5) - 2);
      ZEPHPLAY_MPBPlayOneFrame(group.h, i % 3 == 0 ? ZEPHPLAY_MPB_ALL : 0, i % 2, 0);
      ZEPHPLAY_MPBSetPlayBackIFrame(group.h, ZEPHPLAY_MPB_ALL, i % 4 == 3);
      std::this_thread::sleep_for(5ms);
    }
    input.join();
    ZEPHPLAY_MPBSetPlayBackIFrame(group.h, ZEPHPLAY_MPB_ALL, 0);
    ZEPHPLAY_MPBSetPlayRate(group.h, 8);
    EXPECT_TRUE(WaitUntil([&] { return closeResult != 0; }));
  });
  EXPECT_EQ(closeResult, 1);
}

}  // namespace
