#include <gtest/gtest.h>

#include <vector>

#include "common/CFrameQueue.h"

using zp::CFrameQueue;
using zp::QueueFrameHead;

namespace {

std::vector<uint8_t> Bytes(uint32_t n, uint8_t seed) {
  std::vector<uint8_t> v(n);
  for (uint32_t i = 0; i < n; ++i) {
    v[i] = static_cast<uint8_t>(seed + i * 7);
  }
  return v;
}

int Push(CFrameQueue& q, uint32_t type, uint64_t stamp, const std::vector<uint8_t>& data) {
  QueueFrameHead head{type, static_cast<uint32_t>(data.size()), stamp};
  return q.WriteFrame(head, data.data());
}

struct Popped {
  QueueFrameHead head;
  std::vector<uint8_t> data;
};

Popped PopOne(CFrameQueue& q) {
  Popped out;
  std::vector<uint8_t> buf(1 << 16);
  EXPECT_EQ(q.Pop(&out.head, buf.data()), 1);
  out.data.assign(buf.begin(), buf.begin() + out.head.nLength);
  return out;
}

}  // namespace

// Full means either the frame slots or the bytes run out; a refused frame leaves the queue intact.
TEST(FrameQueue, RefusesWhenSlotsOrBytesRunOutAndStaysIntact) {
  CFrameQueue q;
  ASSERT_EQ(q.Init(3, 100), 1);
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(q.IsFull());
    EXPECT_EQ(Push(q, 1, i, Bytes(10, i)), 1);
  }
  EXPECT_TRUE(q.IsFull());
  EXPECT_EQ(Push(q, 1, 9, Bytes(10, 9)), 0);
  EXPECT_EQ(PopOne(q).data, Bytes(10, 0));
  EXPECT_EQ(Push(q, 5, 2000, Bytes(81, 2)), 0);
  EXPECT_EQ(q.GetFrameNum(), 2);
  EXPECT_EQ(Push(q, 5, 3000, Bytes(80, 3)), 1);
  EXPECT_EQ(q.FreeBytes(), 0u);
  EXPECT_EQ(PopOne(q).data, Bytes(10, 1));
  EXPECT_EQ(PopOne(q).data, Bytes(10, 2));
  EXPECT_EQ(PopOne(q).data, Bytes(80, 3));
  EXPECT_EQ(q.Pop(nullptr, nullptr), 0);
}

TEST(FrameQueue, PopIfFitsReportsTheNeededSize) {
  CFrameQueue q;
  ASSERT_EQ(q.Init(4, 64), 1);
  uint8_t buf[64];
  QueueFrameHead head;
  uint32_t size = 64;
  EXPECT_EQ(q.PopIfFits(&head, buf, &size), 0);
  EXPECT_EQ(size, 0u);
  ASSERT_EQ(Push(q, 1, 5, Bytes(20, 4)), 1);
  size = 19;
  EXPECT_EQ(q.PopIfFits(&head, buf, &size), 0);
  EXPECT_EQ(size, 20u);
  EXPECT_EQ(q.PopIfFits(&head, buf, &size), 1);
  EXPECT_EQ(std::vector<uint8_t>(buf, buf + 20), Bytes(20, 4));
}

TEST(FrameQueue, SpanIsNewestMinusOldestStampInMs) {
  CFrameQueue q;
  ASSERT_EQ(q.Init(8, 256), 1);
  uint32_t span = 123;
  EXPECT_EQ(q.GetFrameSpan(&span), 0);
  ASSERT_EQ(Push(q, 10, 5'000'000, Bytes(4, 0)), 1);
  ASSERT_EQ(Push(q, 12, 6'500'999, Bytes(4, 0)), 1);
  EXPECT_EQ(q.GetFrameSpan(&span), 1);
  EXPECT_EQ(span, 1500u);
  // A newest stamp below the head stamp is reported as an unusable span.
  ASSERT_EQ(Push(q, 13, 1'000, Bytes(4, 0)), 1);
  EXPECT_EQ(q.GetFrameSpan(&span), 1);
  EXPECT_EQ(span, 0xFFFFFFFFu);
}

TEST(FrameQueue, ResizeKeepsFramesAndRefusesToShrinkBelowUse) {
  CFrameQueue q;
  ASSERT_EQ(q.Init(4, 100), 1);
  ASSERT_EQ(Push(q, 1, 1, Bytes(70, 0)), 1);
  PopOne(q);
  ASSERT_EQ(Push(q, 2, 2, Bytes(50, 2)), 1);  // wraps
  ASSERT_EQ(Push(q, 3, 3, Bytes(30, 3)), 1);
  EXPECT_EQ(q.Resize(10, 79), 0);
  EXPECT_EQ(q.Capacity(), 100u);
  EXPECT_EQ(q.GetFrameNum(), 2);
  ASSERT_EQ(q.Resize(10, 300), 1);
  EXPECT_EQ(q.SlotCount(), 11u);
  EXPECT_EQ(q.FreeBytes(), 220u);
  ASSERT_EQ(Push(q, 4, 4, Bytes(200, 4)), 1);
  EXPECT_EQ(PopOne(q).data, Bytes(50, 2));
  EXPECT_EQ(PopOne(q).data, Bytes(30, 3));
  EXPECT_EQ(PopOne(q).data, Bytes(200, 4));
  EXPECT_EQ(q.Resize(1, 300), 1);
  EXPECT_EQ(q.SlotCount(), 2u);
}

// Reset empties without freeing; a queue that was never (or could not be) made refuses everything.
TEST(FrameQueue, ResetEmptiesAndAnUninitialisedQueueRefusesEverything) {
  CFrameQueue q;
  EXPECT_EQ(Push(q, 1, 1, Bytes(1, 0)), 0);
  EXPECT_EQ(q.Pop(nullptr, nullptr), 0);
  EXPECT_FALSE(q.IsFull());
  EXPECT_EQ(q.Init(UINT32_MAX, 10), 0);
  EXPECT_EQ(Push(q, 1, 1, Bytes(1, 0)), 0);
  ASSERT_EQ(q.Init(4, 100), 1);
  ASSERT_EQ(Push(q, 1, 1, Bytes(60, 0)), 1);
  q.Reset();
  EXPECT_EQ(q.GetFrameNum(), 0);
  EXPECT_EQ(q.FreeBytes(), 100u);
  EXPECT_EQ(Push(q, 1, 1, Bytes(100, 0)), 1);
}
