#include <gtest/gtest.h>

#include <random>

#include "StreamWriter.h"
#include "common/CFrameQueue.h"
#include "media/MediaTestSupport.h"
#include "player/CStreamInput.h"

using namespace zp;

namespace {

using Got = mediatest::Read;

// A sink over a real frame queue, small enough to fill up, that refuses tries at random and
// resizes the queue (packing it) under frames being filled.
class QueueSink : public IStreamFrameSink {
 public:
  explicit QueueSink(uint32_t seed) : m_rng(seed) { m_queue.Init(8, 40000); }
  int PutFrame(uint32_t tag, uint64_t stamp, const uint8_t* p1, uint32_t n1, const uint8_t* p2, uint32_t n2,
               bool grow) override {
    if (!grow && m_rng() % 4 == 0) {
      return -3;
    }
    return m_queue.WriteFrame2({tag, n1 + n2, stamp}, p1, n1, p2, n2) != 0 ? 0 : -3;
  }
  int BeginFrame(uint32_t tag, uint64_t stamp, uint32_t total, const uint8_t* part, uint32_t n) override {
    return m_rng() % 4 != 0 && m_queue.BeginFrame({tag, total, stamp}, part, n) != 0 ? 1 : -1;
  }
  bool AppendFrame(const uint8_t* part, uint32_t n) override {
    if (m_rng() % 3 == 0) {
      m_queue.Resize(8, m_queue.Capacity() ^ 1);  // may be refused: one byte short
    }
    return m_queue.AppendFrame(part, n, nullptr, nullptr) != 0;
  }
  void Drain(std::vector<Got>* got) {
    std::vector<uint8_t> buffer(40000);
    QueueFrameHead head;
    while (m_queue.Pop(&head, buffer.data()) != 0) {
      got->push_back({head.nType, head.u64Stamp, {buffer.begin(), buffer.begin() + head.nLength}});
    }
  }
  CFrameQueue m_queue;
  std::mt19937 m_rng;
};

std::vector<samples::TaggedFrame> RandomFrames(std::mt19937& rng, int count) {
  const uint32_t tags[] = {0x63643000, 0x63643100, 0x63643230, 0x62773100, 0x63643900, 0x63643800};
  std::vector<samples::TaggedFrame> frames;
  for (int i = 0; i < count; ++i) {
    std::vector<uint8_t> data(rng() % 9000);
    for (auto& b : data) {
      b = static_cast<uint8_t>(rng());
    }
    frames.push_back({tags[rng() % 6], std::move(data), 5000000 + i * 40000ull});
  }
  return frames;
}

}  // namespace

// Whatever the piece sizes, refusals and queue moves, the frames come out whole and in order,
// exactly as the parser alone cuts them from the whole stream.
TEST(StreamInput, CutsAsTheParserDoesThroughRefusalsAndQueueMoves) {
  std::mt19937 rng(9);
  const auto frames = RandomFrames(rng, 300);
  const auto stream = samples::MakeStream(frames, {.seed = 5, .garbageMax = 40, .leadingGarbageMax = 100});
  std::vector<Got> expected;
  CParseData whole;
  whole.SetBufferSize(static_cast<uint32_t>(stream.bytes.size()));
  whole.InputData(stream.bytes.data(), static_cast<uint32_t>(stream.bytes.size()));
  while (StreamFrame* f = whole.GetFrame()) {
    expected.push_back({f->nTag, f->u64Stamp, {f->pData, f->pData + f->nLength}});
    whole.ReleaseFrame(f);
  }
  ASSERT_EQ(expected.size(), frames.size());
  for (size_t maxPiece : {1u, 5u, 700u, 4096u, 20000u}) {
    QueueSink sink(static_cast<uint32_t>(maxPiece));
    CStreamInput input(&sink, 307200);
    std::vector<Got> got;
    for (const auto& piece : samples::CutIntoPieces(stream.bytes, 3, maxPiece)) {
      while (input.Input(piece.data(), static_cast<uint32_t>(piece.size())) != 0) {
        sink.Drain(&got);
      }
      if (sink.m_rng() % 3 == 0) {
        sink.Drain(&got);
      }
    }
    for (int i = 0; i < 20; ++i) {
      sink.Drain(&got);
      input.Input(nullptr, 0);
    }
    ASSERT_EQ(got.size(), expected.size()) << "pieces up to " << maxPiece;
    for (size_t i = 0; i < got.size(); ++i) {
      ASSERT_TRUE(got[i] == expected[i]) << "frame " << i << ", pieces up to " << maxPiece;
    }
  }
}

// A frame being filled holds off other writes. A queue emptied under it drops it; its other
// bytes are skipped, not searched for frames, and the frames after it come through.
TEST(StreamInput, AFrameDroppedWhileFilledIsSkipped) {
  std::mt19937 rng(4);
  auto frames = RandomFrames(rng, 3);
  const auto inner = samples::MakeStream({{0x63643100, {1, 2, 3}, 7}}, {}).bytes;
  frames[0] = {0x63643000, {}, 1};
  for (int i = 0; i < 200; ++i) {
    frames[0].data.insert(frames[0].data.end(), inner.begin(), inner.end());
  }
  const auto bytes = samples::MakeStream(frames, {}).bytes;
  struct : QueueSink {
    using QueueSink::QueueSink;
    int BeginFrame(uint32_t tag, uint64_t stamp, uint32_t total, const uint8_t* part, uint32_t n) override {
      return m_queue.BeginFrame({tag, total, stamp}, part, n) != 0 ? 1 : -1;
    }
  } sink(1);
  CStreamInput input(&sink, 307200);
  ASSERT_EQ(input.Input(bytes.data(), 100), 0);
  EXPECT_EQ(sink.m_queue.WriteFrame({0x63643130, 0, 0}, nullptr), 0);  // other writes wait behind it
  sink.m_queue.Reset();
  ASSERT_EQ(input.Input(bytes.data() + 100, static_cast<uint32_t>(bytes.size() - 100)), 0);
  std::vector<Got> got;
  sink.Drain(&got);
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(got[0].data, frames[1].data);
  EXPECT_EQ(got[1].data, frames[2].data);
}
