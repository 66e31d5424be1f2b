#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "MediaTestSupport.h"
#include "media/CParseData.h"

using namespace zp;
using mediatest::StreamBytes;

namespace {

using Got = mediatest::Read;

// The feeder's loop: drain, input, drain; false when input is refused.
bool Feed(CParseData* parser, const uint8_t* bytes, size_t n, std::vector<Got>* got) {
  auto drain = [&] {
    while (StreamFrame* f = parser->GetFrame()) {
      got->push_back({f->nTag, f->u64Stamp, {f->pData, f->pData + f->nLength}});
      parser->ReleaseFrame(f);
    }
    parser->Compact();
  };
  drain();
  if (parser->InputData(bytes, static_cast<uint32_t>(n)) != 0) {
    return false;
  }
  drain();
  return true;
}

CParseData* NewParser(uint32_t size = 307200) {
  auto* p = new CParseData;
  p->SetBufferSize(size);
  return p;
}

// Offsets of recognised stream tags, found the slow way.
int32_t NaiveFindSync(const uint8_t* b, int32_t start, int32_t end) {
  for (int32_t p = start; end - p >= 8; ++p) {
    if (IsStreamTag(ReadU32(b + p))) {
      return p;
    }
  }
  return -1;
}

}  // namespace

TEST(ParseData, RecoversEveryFrameFromRandomPiecesWithGarbage) {
  std::mt19937 rng(7);
  std::vector<samples::TaggedFrame> frames;
  for (int i = 0; i < 300; ++i) {
    const uint32_t tags[] = {0x63643000, 0x63643100, 0x63643230, 0x62773100, 0x63643900, 0x63643800};
    frames.push_back({tags[rng() % 6], mediatest::RandomBytes(rng, rng() % 9000), 5000000 + i * 40000ull});
  }
  const samples::WrittenStream stream = samples::MakeStream(frames, {.seed = 3, .garbageMax = 40, .leadingGarbageMax = 100});
  for (size_t maxPiece : {1u, 3u, 700u, 20000u}) {
    std::unique_ptr<CParseData> parser(NewParser());
    std::vector<Got> got;
    for (const auto& piece : samples::CutIntoPieces(stream.bytes, 11, maxPiece)) {
      ASSERT_TRUE(piece.size() <= maxPiece && Feed(parser.get(), piece.data(), piece.size(), &got)) << piece.size();
    }
    Feed(parser.get(), nullptr, 0, &got);
    ASSERT_EQ(got.size(), frames.size()) << "pieces up to " << maxPiece;
    for (size_t i = 0; i < frames.size(); ++i) {
      EXPECT_EQ(got[i].type, frames[i].tag);
      const bool stamped = IsVideoKind(frames[i].tag) || IsAudioKind(frames[i].tag);
      EXPECT_EQ(got[i].stamp, stamped ? frames[i].stampUs : 0u);
      ASSERT_EQ(got[i].data, frames[i].data) << "frame " << i;
    }
  }
}

TEST(ParseData, RecognitionFollowsTheSubCodeRules) {
  const std::vector<uint8_t> payload = {1, 2, 3, 4, 5};
  // Data needs sub-code 0 exactly; video with a sub-code is parsed, but of an unknown type.
  struct Case { uint32_t tag; bool found; uint32_t frameType; } cases[] = {
      {0x63643900, true, FRAME_TYPE_UNKNOWN}, {0x63643901, false, 0}, {0x63643010, true, FRAME_TYPE_UNKNOWN},
      {0x63643000, true, FRAME_TYPE_I},       {0x63643040, false, 0}, {0x63643080, false, 0},
      {0x63643230, true, FRAME_TYPE_AUDIO},   {0x63643200, true, FRAME_TYPE_UNKNOWN},
      {0x6364303F, true, FRAME_TYPE_UNKNOWN}};
  for (const Case& c : cases) {
    // Something after it, to see what is skipped.
    const std::vector<uint8_t> bytes = StreamBytes({{c.tag, payload, 99}, {FRAME_TAG_P, {}, 100}});
    std::unique_ptr<CParseData> parser(NewParser(4096));
    std::vector<Got> got;
    Feed(parser.get(), bytes.data(), bytes.size(), &got);
    ASSERT_EQ(got.size(), c.found ? 2u : 1u) << std::hex << c.tag;
    if (c.found) {
      EXPECT_TRUE(got[0] == (Got{c.tag, TagKind(c.tag) == FRAME_TAG_DATA ? 0u : 99u, payload}));
      EXPECT_EQ(TagToFrameType(c.tag), c.frameType);
    }
    EXPECT_EQ(got.back().type, FRAME_TAG_P);
  }
}

// Split tags in every position are met by the pieces of one byte above (each piece held to its bound).
TEST(ParseData, ShortTailsWaitAndJunkKeepsOnlySevenBytes) {
  const std::vector<uint8_t> frame = StreamBytes({{FRAME_TAG_DATA, {}, 0}});  // 16 bytes, no payload
  std::unique_ptr<CParseData> parser(NewParser(4096));
  // Seven bytes never make a frame, even when they are a whole tag and more.
  ASSERT_EQ(parser->InputData(frame.data(), 7), 0);
  EXPECT_EQ(parser->GetFrame(), nullptr);
  // The rest arrives; the zero-length frame is complete as soon as its header is in.
  ASSERT_EQ(parser->InputData(frame.data() + 7, 9), 0);
  StreamFrame* f = parser->GetFrame();
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(std::make_pair(f->nLength, f->nPayloadOffset), std::make_pair(0u, 16u));
  // After a failed search only 7 bytes are held.
  parser->Reset();
  const std::vector<uint8_t> junk(1000, 0x55);
  ASSERT_EQ(parser->InputData(junk.data(), 1000), 0);
  EXPECT_EQ(parser->GetFrame(), nullptr);
  EXPECT_EQ(parser->GetFreeSize(), 4096 - 7);
}

TEST(ParseData, OversizedFrameBlocksUntilResetAndRefusalKeepsFrames) {
  std::unique_ptr<CParseData> parser(NewParser(4096));
  const std::vector<uint8_t> bytes = StreamBytes({{FRAME_TAG_I, std::vector<uint8_t>(100, 1), 1},
                                                  {FRAME_TAG_P, std::vector<uint8_t>(4096 - 32 - 100 - 32 - 30, 2), 2}});
  // Fill to the brim without draining; one byte more is refused and nothing is lost.
  ASSERT_EQ(parser->InputData(bytes.data(), static_cast<uint32_t>(bytes.size())), 0);
  const std::vector<uint8_t> more(parser->GetFreeSize() + 1, 3);
  EXPECT_TRUE(parser->IsFull(static_cast<uint32_t>(more.size())));
  EXPECT_EQ(parser->InputData(more.data(), static_cast<uint32_t>(more.size())), 1);
  EXPECT_EQ(parser->InputData(more.data(), 0x80000000u), 1);  // no wrap-around into "fits"
  std::vector<Got> got;
  Feed(parser.get(), nullptr, 0, &got);
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(got[1].data.size(), bytes.size() - 132 - 32);

  // A frame larger than the buffer can never complete: every later input is refused.
  const std::vector<uint8_t> big = StreamBytes({{FRAME_TAG_P, std::vector<uint8_t>(5000, 4), 3}});
  size_t fed = 0;
  while (fed < big.size() && Feed(parser.get(), big.data() + fed, 500, &got)) {
    fed += 500;
  }
  EXPECT_LT(fed, big.size());
  ASSERT_TRUE(Feed(parser.get(), big.data() + fed, static_cast<size_t>(parser->GetFreeSize()), &got));
  EXPECT_EQ(parser->GetFreeSize(), 0);
  EXPECT_FALSE(Feed(parser.get(), big.data(), 1, &got));
  parser->Reset();
  const std::vector<uint8_t> small = StreamBytes({{FRAME_TAG_P, {5}, 4}});
  EXPECT_TRUE(Feed(parser.get(), small.data(), small.size(), &got));
  EXPECT_EQ(got.back().stamp, 4u);
}

TEST(ParseData, FindSyncMatchesAByteByByteSearch) {
  std::mt19937 rng(5);
  for (int round = 0; round < 2000; ++round) {
    // Bytes from a small alphabet that makes tags likely.
    const uint8_t alphabet[] = {0x00, 0x10, 0x30, 0x31, 0x39, 0x40, 0x62, 0x63, 0x64, 0x77, 0x01, 0x32};
    std::vector<uint8_t> b(8 + rng() % 64);
    std::generate(b.begin(), b.end(), [&] { return alphabet[rng() % sizeof alphabet]; });
    const int32_t end = static_cast<int32_t>(b.size());
    const int32_t start = static_cast<int32_t>(rng() % b.size());
    ASSERT_EQ(CParseData::FindSync(b.data(), start, end), NaiveFindSync(b.data(), start, end));
  }
}

// Length fields beyond the buffer never make a frame, nor one under way; without a buffer every
// piece is refused.
TEST(ParseData, SizesBeyondTheLimits) {
  std::unique_ptr<CParseData> parser(NewParser(4096));
  CParseData::PendingFrame pending;
  for (uint32_t length : {0xFFFFFFFFu, 0xFFFFFFE0u, 0x80000000u, 4097u, 4064u}) {
    parser->Reset();
    std::vector<uint8_t> head = StreamBytes({{FRAME_TAG_I, {}, 0}});
    WriteU32(head.data() + 4, length);
    ASSERT_EQ(parser->InputData(head.data(), 32), 0);
    EXPECT_EQ(parser->GetFrame(), nullptr) << length;
    EXPECT_EQ(parser->GetPendingFrame(&pending), length == 4064u) << length;  // 4064 fills the buffer exactly
  }
  CParseData bare;
  const uint8_t byte = 0;
  EXPECT_EQ(bare.InputData(&byte, 1), 1);
  EXPECT_EQ(bare.InputData(&byte, 0), 0);
  EXPECT_EQ(bare.GetFrame(), nullptr);
  bare.SetBufferSize(0x80000000u);  // more than a parser may hold: stays without buffer
  EXPECT_EQ(bare.GetFreeSize(), 0);
  EXPECT_EQ(bare.InputData(&byte, 1), 1);
}
