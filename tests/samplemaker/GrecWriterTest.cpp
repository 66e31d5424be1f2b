#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "GrecWriter.h"

namespace zp::samples {
namespace {

// Read here from the layout, without the library's readers or format helpers.
constexpr uint32_t kI = 0x63643000;
constexpr uint32_t kP = 0x63643100;
constexpr uint32_t kWave = 0x62773100;
constexpr uint32_t kData = 0x63643900;

uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint32_t>(b[at]) | static_cast<uint32_t>(b[at + 1]) << 8 | static_cast<uint32_t>(b[at + 2]) << 16 |
         static_cast<uint32_t>(b[at + 3]) << 24;
}
uint64_t Le64(const std::vector<uint8_t>& b, size_t at) {
  return Le32(b, at) | static_cast<uint64_t>(Le32(b, at + 4)) << 32;
}

std::vector<uint8_t> Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class GrecFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() /
           ("samplemaker-grec-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::create_directories(dir_);
    path_ = (dir_ / "rec.grec").string();
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::filesystem::path dir_;
  std::string path_;
};

std::vector<TaggedFrame> Frames(uint64_t firstStamp) {
  const uint32_t tags[] = {kI, kP, kWave, kP, kData, kWave, kI | 0x05, kP};
  std::vector<TaggedFrame> frames;
  for (size_t i = 0; i < std::size(tags); ++i) {
    TaggedFrame f{tags[i], std::vector<uint8_t>(5 + i * 11, static_cast<uint8_t>(0xA0 + i)), firstStamp + i * 40000};
    frames.push_back(std::move(f));
  }
  return frames;
}

struct Walked {
  std::vector<size_t> headers;
  size_t end = 0;
};

// Walks the frames from 512 to `end`, checking each against the frame written.
Walked Walk(const std::vector<uint8_t>& b, const std::vector<TaggedFrame>& frames, const GrecResult& r, size_t from,
            size_t firstFrame = 0) {
  Walked w;
  size_t at = from;
  for (size_t i = 0; i < frames.size(); ++i) {
    const TaggedFrame& f = frames[i];
    const uint32_t kind = f.tag & 0xFFFFFF00u;
    const bool video = kind == kI || kind == kP;
    const size_t head = video ? 32 : 16;
    EXPECT_EQ(Le32(b, at), kind) << "frame " << i;
    EXPECT_EQ(Le32(b, at + 4), f.data.size());
    EXPECT_EQ(video ? Le64(b, at + 16) : Le64(b, at + 8), kind == kData ? 0 : f.stampUs);
    EXPECT_EQ(r.payloadOffsets[firstFrame + i], at + head);
    EXPECT_TRUE(std::equal(f.data.begin(), f.data.end(), b.begin() + static_cast<std::ptrdiff_t>(at + head)));
    const size_t padded = (f.data.size() + 7) / 8 * 8;
    for (size_t j = f.data.size(); j < padded; ++j) {
      EXPECT_EQ(b[at + head + j], 0) << "padding of frame " << i;
    }
    w.headers.push_back(at);
    at += head + padded;
  }
  w.end = at;
  return w;
}

// A closed recording: head fields, frames from 512 padded to 8 with their kinds and stamps,
// back-links on key frames, and a trailer listing key and data frames.
TEST_F(GrecFile, ClosedRecordingHasHeadFramesAndIndex) {
  const std::vector<TaggedFrame> frames = Frames(5000000);
  const GrecResult r = WriteGrecFile(path_, frames, GrecOptions{});
  ASSERT_TRUE(r.ok);
  const std::vector<uint8_t> b = Slurp(path_);
  ASSERT_EQ(r.fileSize, b.size());
  ASSERT_GE(b.size(), 512u);
  EXPECT_EQ(Le32(b, 0), 0x12345678u);
  EXPECT_EQ(Le32(b, 4), 8u);
  EXPECT_TRUE(std::all_of(b.begin() + 456, b.begin() + 512, [](uint8_t v) { return v == 0; }));

  const Walked w = Walk(b, frames, r, 512);
  EXPECT_EQ(Le32(b, 68), w.end);
  EXPECT_EQ(Le32(b, w.headers[6] + 12), w.headers[6] - w.headers[3]) << "back-link to the previous video frame";
  EXPECT_EQ(Le32(b, w.headers[1] + 12), 0u);

  ASSERT_EQ(b.size(), w.end + 8 + 20 * 3);
  EXPECT_EQ(Le32(b, w.end), 0x08070621u);
  EXPECT_EQ(Le32(b, w.end + 4), 8u);
  const size_t indexed[] = {0, 4, 6};
  for (size_t k = 0; k < 3; ++k) {
    const size_t e = w.end + 8 + 20 * k;
    const size_t i = indexed[k];
    EXPECT_EQ(Le32(b, e + 4), w.headers[i]);
    EXPECT_EQ(Le64(b, e + 8), frames[i].stampUs);
    EXPECT_EQ(Le32(b, e + 16), frames[i].tag & 0xFFFFFF00u);
  }
}

// An unfinished recording ends with its frames (or part of the last), without trailer and with
// the head's index offset 0.
TEST_F(GrecFile, UnfinishedRecordingHasNoTrailer) {
  const std::vector<TaggedFrame> frames = Frames(0);
  GrecOptions o;
  o.unfinished = true;
  GrecResult r = WriteGrecFile(path_, frames, o);
  ASSERT_TRUE(r.ok);
  std::vector<uint8_t> b = Slurp(path_);
  const Walked w = Walk(b, frames, r, 512);
  EXPECT_EQ(b.size(), w.end);
  EXPECT_EQ(Le32(b, 68), 0u);

  o.cutTail = 9;
  r = WriteGrecFile(path_, frames, o);
  ASSERT_TRUE(r.ok);
  b = Slurp(path_);
  EXPECT_EQ(b.size(), w.end - 9);
  EXPECT_EQ(r.fileSize, b.size());
  EXPECT_EQ(Le32(b, 68), 0u);
}

// Appending continues where the old trailer began and reports the span already recorded; the
// one trailer then lists the old entries and the new.
TEST_F(GrecFile, AppendContinuesAtTheOldTrailer) {
  const std::vector<TaggedFrame> first = Frames(1000000);
  const GrecResult r1 = WriteGrecFile(path_, first, GrecOptions{});
  ASSERT_TRUE(r1.ok);
  const uint32_t oldTrailer = Le32(Slurp(path_), 68);

  const std::vector<TaggedFrame> second = Frames(2000000);
  GrecOptions o;
  o.append = true;
  const GrecResult r2 = WriteGrecFile(path_, second, o);
  ASSERT_TRUE(r2.ok);
  EXPECT_EQ(r2.recordedMs, (first[6].stampUs - first[0].stampUs) / 1000);
  const std::vector<uint8_t> b = Slurp(path_);
  Walk(b, first, r1, 512);
  const Walked w = Walk(b, second, r2, oldTrailer);
  EXPECT_EQ(Le32(b, 68), w.end);
  EXPECT_EQ(b.size(), w.end + 8 + 20 * 6);
  EXPECT_EQ(Le64(b, w.end + 8 + 20 * 5 + 8), second[6].stampUs);
}

// Repeated passes follow one another with their stamps moved on; the index lists every pass.
TEST_F(GrecFile, RepeatWritesPassesWithMovedStamps) {
  const std::vector<TaggedFrame> frames = Frames(0);
  GrecOptions o;
  o.repeat = 3;
  o.repeatPeriodUs = 10000000;
  const GrecResult r = WriteGrecFile(path_, frames, o);
  ASSERT_TRUE(r.ok);
  ASSERT_EQ(r.payloadOffsets.size(), frames.size() * 3);
  const std::vector<uint8_t> b = Slurp(path_);
  size_t at = 512;
  for (uint64_t k = 0; k < 3; ++k) {
    std::vector<TaggedFrame> moved = frames;
    for (TaggedFrame& f : moved) {
      f.stampUs += k * 10000000;
    }
    at = Walk(b, moved, r, at, k * frames.size()).end;
  }
  EXPECT_EQ(Le32(b, 68), at);
  EXPECT_EQ(b.size(), at + 8 + 20 * 9);
  EXPECT_EQ(Le64(b, at + 8 + 20 * 8 + 8), frames[6].stampUs + 20000000);
}

TEST_F(GrecFile, RefusesAPathThatCannotBeWritten) {
  const GrecResult r = WriteGrecFile((dir_ / "missing" / "rec.grec").string(), Frames(0), GrecOptions{});
  EXPECT_FALSE(r.ok);
}

}  // namespace
}  // namespace zp::samples
