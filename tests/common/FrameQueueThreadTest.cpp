#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

#include "common/CFrameQueue.h"

using zp::CFrameQueue;
using zp::QueueFrameHead;

namespace {

uint32_t Checksum(const uint8_t* p, uint32_t n) {
  uint32_t h = 2166136261u;
  for (uint32_t i = 0; i < n; ++i) {
    h = (h ^ p[i]) * 16777619u;
  }
  return h;
}

}  // namespace

// A million frames of random sizes through a ring they wrap many times; each frame's checksum
// travels in its type field and is checked at the far end.
TEST(FrameQueueThreads, OneProducerOneConsumerLoseAndCorruptNothing) {
  constexpr int kFrames = 1'000'000;
  constexpr uint32_t kMaxLen = 700;
  CFrameQueue q;
  ASSERT_EQ(q.Init(64, 16 * 1024), 1);

  std::thread producer([&q] {
    std::mt19937 rng(1234);
    std::vector<uint8_t> buf(kMaxLen);
    for (int i = 0; i < kFrames; ++i) {
      const uint32_t len = rng() % kMaxLen;
      std::generate_n(buf.begin(), len, [&rng] { return static_cast<uint8_t>(rng()); });
      const QueueFrameHead head{Checksum(buf.data(), len), len, static_cast<uint64_t>(i)};
      while (q.WriteFrame(head, buf.data()) == 0) {
        std::this_thread::yield();
      }
    }
  });

  // A lost frame would leave both sides waiting for good: past the deadline the program stops.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(5);
  std::vector<uint8_t> out(kMaxLen);
  int received = 0, bad = 0;
  for (QueueFrameHead head; received < kFrames; std::this_thread::yield()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ADD_FAILURE() << received << " of " << kFrames << " frames after 5 min";
      std::abort();
    }
    while (received < kFrames && q.Pop(&head, out.data()) == 1) {
      bad += head.u64Stamp != static_cast<uint64_t>(received++) || head.nType != Checksum(out.data(), head.nLength);
    }
  }
  producer.join();
  EXPECT_EQ(bad, 0);
  EXPECT_EQ(q.FreeBytes(), 16u * 1024u) << "nothing left behind";
}
