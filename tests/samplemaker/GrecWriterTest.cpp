#include <gtest/gtest.h>

#include "GrecWriter.h"
#include "SampleTestSupport.h"
#include "common/TempDir.h"

namespace zp::samples {
namespace {

using namespace test;

std::vector<TaggedFrame> Frames(uint64_t firstStamp) {
  const uint32_t tags[] = {kI, kP, kWave, kP, kData, kWave, kI | 0x05, kP};
  std::vector<TaggedFrame> frames;
  for (size_t i = 0; i < std::size(tags); ++i) {
    frames.push_back(
        {tags[i], std::vector<uint8_t>(5 + i * 11, static_cast<uint8_t>(0xA0 + i)), firstStamp + i * 40000});
  }
  return frames;
}

// Walks the frames from `at`, padded to 8, checking each against the frame written and the
// payload offset reported for it; returns where they end. The head, back-links and index
// entries are the library writer's and are checked by its own tests, which also append through
// WriteGrecFile.
size_t Walk(const std::vector<uint8_t>& b, const std::vector<TaggedFrame>& frames, const GrecResult& r, size_t at) {
  for (size_t i = 0; i < frames.size(); ++i) {
    const TaggedFrame& f = frames[i];
    const size_t head = HeadLength(f.tag);
    if (at + head + f.data.size() > b.size()) {
      ADD_FAILURE() << "frame " << i << " runs past the end of the file";
      return at;
    }
    EXPECT_EQ(Le32(b, at), Kind(f.tag)) << "frame " << i;
    EXPECT_EQ(Le32(b, at + 4), f.data.size());
    EXPECT_EQ(StampAt(b, at), Kind(f.tag) == kData ? 0 : f.stampUs);
    EXPECT_EQ(r.payloadOffsets[i], at + head);
    EXPECT_TRUE(std::equal(f.data.begin(), f.data.end(), b.begin() + static_cast<std::ptrdiff_t>(at + head)));
    at += head + (f.data.size() + 7) / 8 * 8;
  }
  return at;
}

// Repeated passes follow one another from 512 with their stamps moved on; the one index after
// them lists the key and data frames of every pass.
TEST(GrecFile, RepeatedPassesWithMovedStampsAndOneIndex) {
  TempDir dir;
  const std::string path = (dir.path() / "rec.grec").string();
  const std::vector<TaggedFrame> frames = Frames(0);
  GrecOptions o;
  o.repeat = 3;
  o.repeatPeriodUs = 10000000;
  const GrecResult r = WriteGrecFile(path, frames, o);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.payloadOffsets.size(), frames.size() * 3);
  const std::vector<uint8_t> b = ReadFileBytes(path);
  EXPECT_EQ(r.fileSize, b.size());
  const size_t at = Walk(b, RepeatFrames(frames, 3, 10000000), r, 512);
  EXPECT_EQ(Le32(b, 68), at);
  ASSERT_EQ(b.size(), at + 8 + 20 * 9);
  EXPECT_EQ(Le64(b, at + 8 + 20 * 8 + 8), frames[6].stampUs + 20000000);
  EXPECT_FALSE(WriteGrecFile((dir.path() / "missing" / "rec.grec").string(), frames, GrecOptions{}).ok);
}

// An unfinished recording ends with its frames (or part of the last), without trailer and with
// the head's index offset 0.
TEST(GrecFile, UnfinishedRecordingHasNoTrailer) {
  TempDir dir;
  const std::string path = (dir.path() / "rec.grec").string();
  const std::vector<TaggedFrame> frames = Frames(0);
  GrecOptions o;
  o.unfinished = true;
  GrecResult r = WriteGrecFile(path, frames, o);
  ASSERT_TRUE(r.ok);
  std::vector<uint8_t> b = ReadFileBytes(path);
  const size_t end = Walk(b, frames, r, 512);
  EXPECT_EQ(b.size(), end);
  EXPECT_EQ(Le32(b, 68), 0u);

  o.cutTail = 9;
  r = WriteGrecFile(path, frames, o);
  ASSERT_TRUE(r.ok);
  b = ReadFileBytes(path);
  EXPECT_EQ(b.size(), end - 9);
  EXPECT_EQ(r.fileSize, b.size());
  EXPECT_EQ(Le32(b, 68), 0u);
}

}  // namespace
}  // namespace zp::samples
