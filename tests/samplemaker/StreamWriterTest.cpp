#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "SampleEncoder.h"
#include "SampleTestSupport.h"

namespace zp::samples {
namespace {

using namespace test;

struct Read {
  size_t offset = 0;
  uint32_t tag = 0;
  uint64_t stamp = 0;
  std::vector<uint8_t> payload;
};

bool KnownKind(uint32_t tag) {
  const uint32_t kind = Kind(tag);
  return kind == kI || kind == kP || kind == kAudio || kind == kWave || kind == kExt || kind == kData;
}

// Reads one frame at `at`; checks the header's unused fields are zero. False when no frame is there.
bool ReadAt(const std::vector<uint8_t>& b, size_t at, Read* out) {
  if (at + 16 > b.size() || !KnownKind(Le32(b, at))) {
    return false;
  }
  const uint32_t tag = Le32(b, at);
  const size_t head = HeadLength(tag);
  const uint32_t length = Le32(b, at + 4);
  if (at + head + length > b.size()) {
    return false;
  }
  if (IsVideo(tag)) {
    EXPECT_EQ(Le32(b, at + 8), 0u);
    EXPECT_EQ(Le32(b, at + 12), 0u);
    EXPECT_EQ(Le64(b, at + 24), 0u);
  }
  const auto payload = b.begin() + static_cast<std::ptrdiff_t>(at + head);
  *out = {at, tag, StampAt(b, at), {payload, payload + length}};
  return true;
}

// Searches byte by byte for any word whose bytes 1 to 3 name a frame kind, as a resynchronising
// parser would, and steps over each frame found.
std::vector<Read> Scan(const std::vector<uint8_t>& b) {
  std::vector<Read> out;
  for (size_t at = 0; at + 4 <= b.size();) {
    Read r;
    if (ReadAt(b, at, &r)) {
      at += HeadLength(r.tag) + r.payload.size();
      out.push_back(std::move(r));
    } else {
      ++at;
    }
  }
  return out;
}

// The frames found cover the bytes end to end, with nothing between them.
void ExpectBackToBack(const std::vector<Read>& read, size_t size) {
  size_t at = 0;
  for (const Read& r : read) {
    EXPECT_EQ(r.offset, at);
    at = r.offset + HeadLength(r.tag) + r.payload.size();
  }
  EXPECT_EQ(at, size);
}

// Every kind, odd lengths, an empty payload, payloads full of bytes that look like tags.
std::vector<TaggedFrame> MixedFrames() {
  const uint32_t tags[] = {kI, kP, kStreamAudioTag, kP, kWave, kData, kExt, kAudio | 0x05, kI, kP};
  std::vector<TaggedFrame> frames;
  for (size_t i = 0; i < std::size(tags); ++i) {
    TaggedFrame f;
    f.tag = tags[i];
    f.stampUs = 1000000 + i * 40000;
    f.data.resize(i == 3 ? 0 : 13 + i * 37);
    for (size_t j = 0; j < f.data.size(); ++j) {
      f.data[j] = "\x00" "0dc1wb"[j % 7] ^ static_cast<uint8_t>(j / 7);
    }
    frames.push_back(std::move(f));
  }
  return frames;
}

void ExpectSameFrame(const Read& r, const TaggedFrame& f) {
  EXPECT_EQ(r.tag, f.tag);
  EXPECT_EQ(r.payload, f.data);
  EXPECT_EQ(r.stamp, Kind(f.tag) == kData || Kind(f.tag) == kExt ? 0u : f.stampUs) << std::hex << f.tag;
}

// Without garbage the frames lie back to back with their headers (a tag of no kind is left out).
// Garbage lies only between frames, within the asked bounds, and holds nothing that a scanner
// could take for a tag: a byte-by-byte scan finds exactly the frames written, where they were
// written. The same seed gives the same bytes, another seed other bytes.
TEST(MakeStream, FramesBetweenBoundedTagFreeReproducibleGarbage) {
  const std::vector<TaggedFrame> frames = MixedFrames();
  std::vector<TaggedFrame> withUnknown = frames;
  withUnknown.insert(withUnknown.begin() + 2, TaggedFrame{0x12345678, {1, 2, 3}, 5});
  const WrittenStream plain = MakeStream(withUnknown, StreamOptions{});
  const std::vector<Read> read = Scan(plain.bytes);
  ExpectBackToBack(read, plain.bytes.size());
  ASSERT_EQ(read.size(), frames.size());
  ASSERT_EQ(plain.frameOffsets.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    ExpectSameFrame(read[i], frames[i]);
    EXPECT_EQ(plain.frameOffsets[i], read[i].offset);
  }

  StreamOptions o;
  o.seed = 7;
  o.garbageMax = 50;
  o.leadingGarbageMax = 30;
  const WrittenStream s = MakeStream(frames, o);
  const std::vector<Read> scanned = Scan(s.bytes);
  ASSERT_EQ(scanned.size(), frames.size());
  ASSERT_EQ(s.frameOffsets.size(), frames.size());
  size_t gapStart = 0;
  size_t total = 0;
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(scanned[i].offset, s.frameOffsets[i]);
    ExpectSameFrame(scanned[i], frames[i]);
    EXPECT_LE(scanned[i].offset - gapStart, i == 0 ? 30u : 50u);
    total += scanned[i].offset - gapStart;
    for (size_t j = gapStart; j < scanned[i].offset; ++j) {
      EXPECT_NE(s.bytes[j], 'd');
      EXPECT_NE(s.bytes[j], 'w');
    }
    gapStart = scanned[i].offset + HeadLength(scanned[i].tag) + scanned[i].payload.size();
  }
  EXPECT_EQ(gapStart, s.bytes.size());
  EXPECT_GT(total, 100u) << "garbage was asked for";

  EXPECT_EQ(MakeStream(frames, o).bytes, s.bytes);
  o.seed = 8;
  EXPECT_NE(MakeStream(frames, o).bytes, s.bytes);
  EXPECT_EQ(MakeStream(frames, StreamOptions{.seed = 9}).bytes, MakeStream(frames, StreamOptions{}).bytes);
}

TEST(CutIntoPieces, CoversTheBytesInBoundedReproduciblePieces) {
  std::vector<uint8_t> bytes(10007);
  std::iota(bytes.begin(), bytes.end(), 0);
  const std::vector<size_t> lengths = CutLengths(bytes.size(), 3, 64);
  EXPECT_EQ(std::accumulate(lengths.begin(), lengths.end(), size_t{0}), bytes.size());
  EXPECT_TRUE(std::all_of(lengths.begin(), lengths.end(), [](size_t n) { return n >= 1 && n <= 64; }));
  EXPECT_GT(*std::max_element(lengths.begin(), lengths.end()), 32u);
  EXPECT_LT(*std::min_element(lengths.begin(), lengths.end()), 32u);
  EXPECT_EQ(CutLengths(bytes.size(), 3, 64), lengths);
  EXPECT_NE(CutLengths(bytes.size(), 4, 64), lengths);

  const std::vector<std::vector<uint8_t>> pieces = CutIntoPieces(bytes, 3, 64);
  ASSERT_EQ(pieces.size(), lengths.size());
  std::vector<uint8_t> joined;
  for (size_t i = 0; i < pieces.size(); ++i) {
    EXPECT_EQ(pieces[i].size(), lengths[i]);
    joined.insert(joined.end(), pieces[i].begin(), pieces[i].end());
  }
  EXPECT_EQ(joined, bytes);

  EXPECT_EQ(CutLengths(5, 1, 0), (std::vector<size_t>{1, 1, 1, 1, 1}));
  EXPECT_TRUE(CutLengths(0, 1, 10).empty());
}

// A vendor file holds the frames from offset 0 with no head; the optional index trailer lists
// each key frame's header offset and stamp.
TEST(MakeMpgFile, FramesFromOffsetZeroAndOptionalKeyIndex) {
  std::vector<TaggedFrame> frames = MixedFrames();
  std::erase_if(frames, [](const TaggedFrame& f) { return Kind(f.tag) == kExt; });
  const std::vector<uint8_t> plain = MakeMpgFile(frames, MpgOptions{});
  const std::vector<Read> read = Scan(plain);
  ExpectBackToBack(read, plain.size());
  ASSERT_EQ(read.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    ExpectSameFrame(read[i], frames[i]);
  }

  const std::vector<uint8_t> indexed = MakeMpgFile(frames, MpgOptions{.keyFrameIndex = true});
  ASSERT_TRUE(std::equal(plain.begin(), plain.end(), indexed.begin()));
  std::vector<const Read*> keys;
  for (const Read& r : read) {
    if (Kind(r.tag) == kI) {
      keys.push_back(&r);
    }
  }
  ASSERT_EQ(keys.size(), 2u);
  ASSERT_EQ(indexed.size(), plain.size() + 8 + 16 * keys.size());
  EXPECT_EQ(Le32(indexed, plain.size()), 0x08070620u);
  EXPECT_EQ(Le32(indexed, plain.size() + 4), 16u);
  for (size_t k = 0; k < keys.size(); ++k) {
    const size_t e = plain.size() + 8 + 16 * k;
    EXPECT_EQ(Le32(indexed, e + 4), keys[k]->offset);
    EXPECT_EQ(Le64(indexed, e + 8), keys[k]->stamp);
  }
}

TEST(RepeatFrames, CopiesWithStampsMovedOnByThePeriod) {
  const std::vector<TaggedFrame> frames = MixedFrames();
  const std::vector<TaggedFrame> three = RepeatFrames(frames, 3, 2000000);
  ASSERT_EQ(three.size(), frames.size() * 3);
  for (size_t j = 0; j < three.size(); ++j) {
    const TaggedFrame& original = frames[j % frames.size()];
    EXPECT_EQ(three[j].tag, original.tag);
    EXPECT_EQ(three[j].data, original.data);
    EXPECT_EQ(three[j].stampUs, original.stampUs + j / frames.size() * 2000000);
  }
  EXPECT_TRUE(RepeatFrames(frames, 0, 1).empty());
}

// Real encoded material: video frames keep their decode order and key flags as tags; each audio
// frame goes just before the first video frame whose decode time it precedes.
TEST(MergeFrames, InterleavesAudioByDecodeTime) {
  VideoParams vp;
  vp.frames = 12;
  vp.gop = 6;
  vp.bFrames = true;
  const std::vector<EncodedFrame> video = EncodeVideo(vp);
  AudioParams ap;
  ap.frames = 25;
  const std::vector<EncodedFrame> audio = EncodeAudio(ap);
  ASSERT_EQ(video.size(), 12u);
  ASSERT_EQ(audio.size(), 25u);
  std::vector<uint64_t> decodeTimes;
  for (const EncodedFrame& f : video) {
    decodeTimes.push_back(f.stampUs);
  }
  std::sort(decodeTimes.begin(), decodeTimes.end());

  // Each audio frame comes after exactly the video frames whose decode time it does not precede.
  const std::vector<TaggedFrame> merged = MergeFrames(video, audio, kWave);
  ASSERT_EQ(merged.size(), video.size() + audio.size());
  size_t v = 0;
  size_t a = 0;
  for (const TaggedFrame& f : merged) {
    const bool isAudio = f.tag == kWave;
    const EncodedFrame& want = isAudio ? audio.at(a++) : video.at(v++);
    EXPECT_EQ(f.data, want.data);
    EXPECT_EQ(f.stampUs, want.stampUs);
    if (isAudio) {
      EXPECT_EQ(v, std::upper_bound(decodeTimes.begin(), decodeTimes.end(), f.stampUs) - decodeTimes.begin());
    } else {
      EXPECT_EQ(f.tag, want.key ? kI : kP);
    }
  }
}

}  // namespace
}  // namespace zp::samples
