#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "SampleEncoder.h"
#include "StreamWriter.h"

namespace zp::samples {
namespace {

// The test reads the bytes on its own, from the layout, without the library's frame helpers.
constexpr uint32_t kI = 0x63643000;
constexpr uint32_t kP = 0x63643100;
constexpr uint32_t kAudio = 0x63643200;
constexpr uint32_t kWave = 0x62773100;
constexpr uint32_t kExt = 0x63643800;
constexpr uint32_t kData = 0x63643900;

uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint32_t>(b[at]) | static_cast<uint32_t>(b[at + 1]) << 8 | static_cast<uint32_t>(b[at + 2]) << 16 |
         static_cast<uint32_t>(b[at + 3]) << 24;
}
uint64_t Le64(const std::vector<uint8_t>& b, size_t at) {
  return Le32(b, at) | static_cast<uint64_t>(Le32(b, at + 4)) << 32;
}

struct Read {
  size_t offset = 0;
  uint32_t tag = 0;
  uint64_t stamp = 0;
  std::vector<uint8_t> payload;
};

bool KnownKind(uint32_t kind) {
  return kind == kI || kind == kP || kind == kAudio || kind == kWave || kind == kExt || kind == kData;
}

// Reads one frame at `at`; checks the header's unused fields are zero. False when no frame is there.
bool ReadAt(const std::vector<uint8_t>& b, size_t at, Read* out) {
  if (at + 16 > b.size()) {
    return false;
  }
  const uint32_t tag = Le32(b, at);
  const uint32_t kind = tag & 0xFFFFFF00u;
  if (!KnownKind(kind)) {
    return false;
  }
  const bool video = kind == kI || kind == kP;
  const size_t head = video ? 32 : 16;
  const uint32_t length = Le32(b, at + 4);
  if (at + head + length > b.size()) {
    return false;
  }
  out->offset = at;
  out->tag = tag;
  if (video) {
    EXPECT_EQ(Le32(b, at + 8), 0u);
    EXPECT_EQ(Le32(b, at + 12), 0u);
    EXPECT_EQ(Le64(b, at + 24), 0u);
    out->stamp = Le64(b, at + 16);
  } else {
    out->stamp = Le64(b, at + 8);
  }
  out->payload.assign(b.begin() + static_cast<std::ptrdiff_t>(at + head),
                      b.begin() + static_cast<std::ptrdiff_t>(at + head + length));
  return true;
}

// Frames back to back from `at` up to `end`; stops at the first byte that is not a frame.
std::vector<Read> ReadBackToBack(const std::vector<uint8_t>& b, size_t at, size_t* end) {
  std::vector<Read> out;
  Read r;
  while (ReadAt(b, at, &r)) {
    at += (((r.tag & 0xFFFFFF00u) == kI || (r.tag & 0xFFFFFF00u) == kP) ? 32 : 16) + r.payload.size();
    out.push_back(r);
  }
  *end = at;
  return out;
}

// Searches byte by byte for any word whose bytes 1 to 3 name a frame kind, as a resynchronising
// parser would, and steps over each frame found.
std::vector<Read> Scan(const std::vector<uint8_t>& b) {
  std::vector<Read> out;
  for (size_t at = 0; at + 4 <= b.size();) {
    Read r;
    if (KnownKind(Le32(b, at) & 0xFFFFFF00u) && ReadAt(b, at, &r)) {
      at += ((r.tag & 0xFFFFFF00u) == kI || (r.tag & 0xFFFFFF00u) == kP ? 32 : 16) + r.payload.size();
      out.push_back(std::move(r));
    } else {
      ++at;
    }
  }
  return out;
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
  const uint32_t kind = f.tag & 0xFFFFFF00u;
  EXPECT_EQ(r.stamp, kind == kData || kind == kExt ? 0u : f.stampUs) << std::hex << f.tag;
}

TEST(MakeStream, WritesFramesBackToBackWithTheirHeaders) {
  std::vector<TaggedFrame> frames = MixedFrames();
  const size_t known = frames.size();
  frames.insert(frames.begin() + 2, TaggedFrame{0x12345678, {1, 2, 3}, 5});  // no kind: left out
  const WrittenStream s = MakeStream(frames, StreamOptions{});
  frames.erase(frames.begin() + 2);

  size_t end = 0;
  const std::vector<Read> read = ReadBackToBack(s.bytes, 0, &end);
  EXPECT_EQ(end, s.bytes.size());
  ASSERT_EQ(read.size(), known);
  ASSERT_EQ(s.frameOffsets.size(), known);
  for (size_t i = 0; i < known; ++i) {
    ExpectSameFrame(read[i], frames[i]);
    EXPECT_EQ(s.frameOffsets[i], read[i].offset);
  }
}

// Garbage lies only between frames, within the asked bounds, and holds nothing that a scanner
// could take for a tag: a byte-by-byte scan finds exactly the frames written, where they were
// written. The same seed gives the same bytes, another seed other bytes.
TEST(MakeStream, GarbageIsBoundedTagFreeAndReproducible) {
  const std::vector<TaggedFrame> frames = MixedFrames();
  StreamOptions o;
  o.seed = 7;
  o.garbageMax = 50;
  o.leadingGarbageMax = 30;
  const WrittenStream s = MakeStream(frames, o);
  ASSERT_EQ(s.frameOffsets.size(), frames.size());
  EXPECT_LE(s.frameOffsets[0], 30u);

  size_t total = 0;
  std::vector<std::pair<size_t, size_t>> gaps{{0, s.frameOffsets[0]}};
  for (size_t i = 0; i < frames.size(); ++i) {
    Read r;
    ASSERT_TRUE(ReadAt(s.bytes, s.frameOffsets[i], &r));
    ExpectSameFrame(r, frames[i]);
    const size_t end = s.frameOffsets[i] + ((frames[i].tag & 0xFFFFFF00u) <= kP ? 32 : 16) + frames[i].data.size();
    if (i + 1 < frames.size()) {
      gaps.emplace_back(end, s.frameOffsets[i + 1]);
    } else {
      EXPECT_EQ(end, s.bytes.size());
    }
  }
  for (const auto& [from, to] : gaps) {
    ASSERT_LE(from, to);
    EXPECT_LE(to - from, 50u);
    total += to - from;
    for (size_t j = from; j < to; ++j) {
      EXPECT_NE(s.bytes[j], 'd');
      EXPECT_NE(s.bytes[j], 'w');
    }
  }
  EXPECT_GT(total, 100u) << "garbage was asked for";

  const std::vector<Read> scanned = Scan(s.bytes);
  ASSERT_EQ(scanned.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(scanned[i].offset, s.frameOffsets[i]);
    ExpectSameFrame(scanned[i], frames[i]);
  }

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
  std::erase_if(frames, [](const TaggedFrame& f) { return (f.tag & 0xFFFFFF00u) == kExt; });
  const std::vector<uint8_t> plain = MakeMpgFile(frames, MpgOptions{});
  size_t end = 0;
  const std::vector<Read> read = ReadBackToBack(plain, 0, &end);
  EXPECT_EQ(end, plain.size());
  ASSERT_EQ(read.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    ExpectSameFrame(read[i], frames[i]);
  }

  const std::vector<uint8_t> indexed = MakeMpgFile(frames, MpgOptions{.keyFrameIndex = true});
  ASSERT_TRUE(std::equal(plain.begin(), plain.end(), indexed.begin()));
  std::vector<const Read*> keys;
  for (const Read& r : read) {
    if ((r.tag & 0xFFFFFF00u) == kI) {
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
  for (size_t k = 0; k < 3; ++k) {
    for (size_t i = 0; i < frames.size(); ++i) {
      const TaggedFrame& f = three[k * frames.size() + i];
      EXPECT_EQ(f.tag, frames[i].tag);
      EXPECT_EQ(f.data, frames[i].data);
      EXPECT_EQ(f.stampUs, frames[i].stampUs + k * 2000000);
    }
  }
  EXPECT_TRUE(RepeatFrames(frames, 0, 1).empty());
}

// Real encoded material: video frames keep their decode order and key flags as tags; each audio
// frame goes just before the first video frame whose decode time it does not precede.
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

  const std::vector<TaggedFrame> merged = MergeFrames(video, audio, kWave);
  ASSERT_EQ(merged.size(), video.size() + audio.size());
  size_t v = 0;
  size_t a = 0;
  for (const TaggedFrame& f : merged) {
    if (f.tag == kWave) {
      ASSERT_LT(a, audio.size());
      EXPECT_EQ(f.data, audio[a].data);
      EXPECT_EQ(f.stampUs, audio[a].stampUs);
      if (v < video.size()) {
        EXPECT_LT(f.stampUs, decodeTimes[v]);
      }
      ++a;
      continue;
    }
    ASSERT_LT(v, video.size());
    EXPECT_EQ(f.tag, video[v].key ? kI : kP);
    EXPECT_EQ(f.data, video[v].data);
    EXPECT_EQ(f.stampUs, video[v].stampUs);
    if (a < audio.size()) {
      EXPECT_GE(audio[a].stampUs, decodeTimes[v]);
    }
    ++v;
  }
  EXPECT_EQ(v, video.size());
  EXPECT_EQ(a, audio.size());
}

}  // namespace
}  // namespace zp::samples
