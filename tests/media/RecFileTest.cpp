#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "MediaTestSupport.h"
#include "media/CFileTembro.h"

using namespace zp;
using namespace mediatest;

namespace {

FileInfo InfoOf(CRecFile* reader) {
  FileInfo info;
  reader->GetFileInfo(&info);
  return info;
}

}  // namespace

// A name ending in .mpg (any case) takes the vendor reader, any other name the GREC one; neither
// opens the other's bytes.
TEST(RecFile, FactoryChoosesTheReaderByName) {
  TempDir dir;
  const std::string mpg = (dir.path() / "v.mpg").string();
  samples::WriteFileBytes(mpg, StreamBytes({{FRAME_TAG_I, std::vector<uint8_t>(600, 1), 1000},
                                            {FRAME_TAG_P, std::vector<uint8_t>(10, 2), 2000}}));
  const std::string grec = Record(dir, "r.grec", MakeFrames(1, 10, 5, false));
  const struct {
    std::string source;  // empty: no file
    const char* name;
    bool vendor, opens;
  } cases[] = {{mpg, "b.MPG", true, true},   {grec, "e.mpg4", false, true}, {mpg, "f.grec", false, false},
               {grec, "g.mpg", true, false}, {"", "h.mpg", true, false}};
  for (const auto& c : cases) {
    if (!c.source.empty()) {
      std::filesystem::copy_file(c.source, dir.path() / c.name);
    }
    auto reader = Open((dir.path() / c.name).string());
    ASSERT_EQ(reader != nullptr, c.opens) << c.name;
    EXPECT_TRUE(!c.opens || (dynamic_cast<CFileTembro*>(reader.get()) != nullptr) == c.vendor) << c.name;
  }
  EXPECT_EQ(CRecFile::CreateRecFile(nullptr), nullptr);
}

// The vendor reader's begin stamp needs a frame at the start, its end stamp one above offset 512;
// a rewind resumes at the first frame above 512, and seeks stay in the span.
TEST(FileTembro, StampsRewindAndSeeks) {
  TempDir dir;
  const std::string path = (dir.path() / "v.mpg").string();
  const std::vector<uint8_t> tail = StreamBytes({{FRAME_TAG_I, std::vector<uint8_t>(700, 3), 8000000},
                                                 {FRAME_TAG_P, std::vector<uint8_t>(10, 3), 9000000}});
  auto withTail = [&](std::vector<uint8_t> front) {
    front.insert(front.end(), tail.begin(), tail.end());
    return front;
  };
  // Two data frames, then audio: the audio stamp begins the file.
  samples::WriteFileBytes(path, withTail(StreamBytes({{FRAME_TAG_DATA, {1, 2}, 0}, {FRAME_TAG_DATA, {}, 0},
                                                      {FRAME_TAG_WAVE, {1}, 7000000}})));
  auto reader = Open(path);
  ASSERT_NE(reader, nullptr);
  const FileInfo info = InfoOf(reader.get());
  EXPECT_EQ(std::make_tuple(info.u64FileBegPts, info.u64FileEndPts, info.nTotalMinSecond),
            std::make_tuple(7000000ull, 9000000ull, 2000u));
  auto frames = ReadAll(reader.get());
  ASSERT_EQ(frames.size(), 5u);
  EXPECT_EQ(frames[0].type, FRAME_TAG_DATA);
  EXPECT_EQ(frames[2].type, FRAME_TAG_WAVE);
  // Refused: three data frames first, a valid frame after a leading byte of garbage, nothing above 512.
  const Frame data{FRAME_TAG_DATA, {1}, 0};
  for (const auto& bytes : {withTail(StreamBytes({data, data, data, {FRAME_TAG_WAVE, {1}, 7000000}})), withTail({0}),
                            StreamBytes({{FRAME_TAG_I, std::vector<uint8_t>(400, 3), 9000000}})}) {
    samples::WriteFileBytes(path, bytes);
    EXPECT_EQ(Open(path), nullptr);
  }
  std::vector<uint8_t> bytes;
  std::vector<size_t> offsets;
  for (int i = 0; i < 40; ++i) {
    offsets.push_back(bytes.size());
    samples::AppendFrame({i % 10 == 0 ? FRAME_TAG_I : FRAME_TAG_P, std::vector<uint8_t>(100 + i, uint8_t(i)),
                          1000000 + i * 100000ull},
                         &bytes);
  }
  samples::WriteFileBytes(path, bytes);
  reader = Open(path);
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(ReadAll(reader.get()).size(), 40u);
  ASSERT_EQ(reader->SeekToBegin(), 0);
  const auto afterRewind = ReadAll(reader.get());
  const size_t firstAfter512 = std::upper_bound(offsets.begin(), offsets.end(), size_t{511}) - offsets.begin();
  ASSERT_EQ(afterRewind.size(), 40 - firstAfter512);
  EXPECT_EQ(afterRewind[0].stamp, 1000000 + firstAfter512 * 100000ull);
  EXPECT_EQ(InfoOf(reader.get()).nTotalMinSecond, 3900u);
  ASSERT_EQ(reader->SeekTime(0, 0), 0);
  EXPECT_EQ(ReadAll(reader.get(), 1).at(0).stamp, 1000000u);
  ASSERT_EQ(reader->SeekTime(2500, 0), 0);  // lands on the key frame after the guess
  const auto landed = ReadAll(reader.get(), 1).at(0);
  EXPECT_EQ(std::make_pair(landed.type, landed.stamp), std::make_pair(FRAME_TAG_I, uint64_t{4000000}));
  reader->CloseFile();
  EXPECT_EQ(reader->SeekToBegin(), 1);
  FrameHead* frame = nullptr;
  EXPECT_EQ(reader->ReadFrame(&frame), 1);
}

// With the index and without it (as a killed writer leaves the file): each seek across the span
// lands on a key frame near the target and ReadTimeOffset names that frame's header; stepping goes
// through every key frame forwards, then backwards, each as written.
TEST(FileH264, SeeksAndStepsWithAndWithoutIndex) {
  TempDir dir;
  auto frames = MakeFrames(9, 750, 50, true, 800);  // 30 s, a key frame every 2 s
  // Indexed too, but only key entries are loaded: stepping never returns it.
  frames.insert(frames.begin() + 5, Frame{FRAME_TAG_DATA, {1, 2, 3}, 0});
  std::vector<uint64_t> keys;
  for (const Frame& f : frames) {
    if (TagKind(f.tag) == FRAME_TAG_I) {
      keys.push_back(f.stampUs);
    }
  }
  const std::string closed = Record(dir, "s.grec", frames);
  const std::string unclosed = Record(dir, "u.grec", frames, true);
  for (const std::string& path : {closed, unclosed}) {
    SCOPED_TRACE(path);
    auto reader = Open(path);
    ASSERT_NE(reader, nullptr);
    const FileInfo info = InfoOf(reader.get());
    EXPECT_EQ(info.u64FileBegPts, frames.front().stampUs);
    // The index ends at the last key frame; scanning finds the last video frame.
    EXPECT_EQ(info.u64FileEndPts, path == closed ? keys.back() : frames[frames.size() - 2].stampUs);
    const std::vector<uint8_t> file = ReadBytes(path);
    FrameHead* frame = nullptr;
    uint32_t offset = 0;
    for (uint32_t ms = 0; ms <= info.nTotalMinSecond; ms += 1700) {
      ASSERT_EQ(reader->SeekTime(static_cast<int32_t>(ms), 0), 0) << ms;
      ASSERT_EQ(reader->ReadFrame(&frame), 0) << ms;
      EXPECT_EQ(frame->nType, FRAME_TAG_I) << ms;
      EXPECT_NE(std::find(keys.begin(), keys.end(), frame->u64Stamp), keys.end());
      const int64_t missUs = static_cast<int64_t>(frame->u64Stamp - info.u64FileBegPts) - ms * 1000ll;
      EXPECT_LE(std::llabs(missUs), path == closed ? 2000000 : 4000000) << ms;
      ASSERT_EQ(reader->ReadTimeOffset(static_cast<int32_t>(ms), &offset), 0);
      ASSERT_LE(offset + 32ull, file.size());
      EXPECT_EQ(ReadU32(&file[offset]), FRAME_TAG_I);
      EXPECT_EQ(ReadU64(&file[offset + 16]), frame->u64Stamp) << ms;
      reader->ReleaseFrame(frame);
    }
    EXPECT_EQ(reader->SeekTime(static_cast<int32_t>(info.nTotalMinSecond + 1), 0), 1);
    EXPECT_EQ(reader->SeekTime(-1, 0), 1);
    EXPECT_EQ(reader->ReadTimeOffset(static_cast<int32_t>(info.nTotalMinSecond + 1), &offset), 1);
    ASSERT_EQ(reader->ReadTimeOffset(0, &offset), 0);
    EXPECT_EQ(offset, 512u);
    ASSERT_EQ(reader->SeekTime(0, 0), 0);
    std::vector<uint64_t> forward;
    while (forward.size() <= keys.size() && reader->ReadNextKeyFrame(&frame) == 0) {
      EXPECT_EQ(frame->nType, FRAME_TAG_I);
      EXPECT_EQ(ReadU32(frame->pData), FRAME_TAG_I);  // the header is kept
      const auto it = std::find_if(frames.begin(), frames.end(), [&](const Frame& f) { return f.stampUs == frame->u64Stamp; });
      ASSERT_NE(it, frames.end());
      EXPECT_EQ(frame->nLength, it->data.size() + 32);
      EXPECT_TRUE(std::equal(it->data.begin(), it->data.end(), frame->pData + 32));
      forward.push_back(frame->u64Stamp);
      reader->ReleaseFrame(frame);
    }
    EXPECT_EQ(forward, keys);
    std::vector<uint64_t> backward;
    while (backward.size() <= keys.size() && reader->ReadPrevKeyFrame(&frame) == 0) {
      backward.push_back(frame->u64Stamp);
      reader->ReleaseFrame(frame);
    }
    EXPECT_EQ(backward, std::vector<uint64_t>(keys.rbegin() + 1, keys.rend()));
    // Normal reading resumes at the key frame on screen (the first), then the frames after it.
    const auto next = ReadAll(reader.get(), 2);
    EXPECT_EQ(next.at(0).stamp, keys.front());
    EXPECT_EQ(next.at(0).data, frames[0].data);
    EXPECT_EQ(next.at(1).stamp, frames[1].stampUs);
  }
}

TEST(FileH264, HeadAndTrailerDecideHowTheFileIsRead) {
  TempDir dir;
  // Key frames 1.2 s apart: more than the one second within which the index search stops.
  std::vector<Frame> frames = MakeFrames(4, 90, 30, false);
  frames.insert(frames.begin() + 5, Frame{FRAME_TAG_DATA, {1, 2, 3}, 0});
  const std::string closed = Record(dir, "h.grec", frames);
  const auto original = ReadBytes(closed);
  auto variant = [&](const std::string& name, auto edit) {
    auto bytes = original;
    edit(bytes);
    const std::string path = (dir.path() / name).string();
    samples::WriteFileBytes(path, bytes);
    return Open(path);
  };
  // Wrong magic: refused even though every frame is fine.
  EXPECT_EQ(variant("magic.grec", [](auto& b) { WriteU32(&b[0], 0x12345679); }), nullptr);
  // The vendor trailer marker is not ours: the index is ignored and the frames are scanned.
  auto vendor = variant("vendor.grec", [](auto& b) { WriteU32(&b[ReadU32(&b[68])], 0x08070620); });
  ASSERT_NE(vendor, nullptr);
  EXPECT_EQ(ReadAll(vendor.get()).size(), frames.size());
  // A trailer offset outside the file leaves no index; the frames still read (and the reader
  // goes on into the trailer, where it may take entries for frames).
  auto outside = variant("outside.grec", [](auto& b) { WriteU32(&b[68], 0x7FFFFFF0); });
  ASSERT_NE(outside, nullptr);
  // Its end stamp comes from walking back over the file's own tail, wherever past the end the
  // offset points: far beyond the file gives what just beyond it gives.
  auto justPast = variant("past.grec", [](auto& b) { WriteU32(&b[68], static_cast<uint32_t>(b.size())); });
  ASSERT_NE(justPast, nullptr);
  const FileInfo far = InfoOf(outside.get()), near = InfoOf(justPast.get());
  EXPECT_EQ(std::tie(far.u64FileEndPts, far.nTotalMinSecond), std::tie(near.u64FileEndPts, near.nTotalMinSecond));
  const auto got = ReadAll(outside.get());
  ASSERT_GE(got.size(), frames.size());
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(got[i].data, frames[i].data) << i;
  }
  // A data frame first and no index: no begin stamp.
  std::vector<Frame> dataFirst = frames;
  std::swap(dataFirst[0], dataFirst[5]);
  EXPECT_EQ(Open(Record(dir, "d2.grec", dataFirst, true)), nullptr);
  EXPECT_NE(Open(Record(dir, "d.grec", dataFirst)), nullptr);  // with its index it opens
}

TEST(FileH264, DamagedFilesEndReadingWithoutHarm) {
  TempDir dir;
  const auto frames = MakeFrames(5, 40, 10, true);
  const auto original = ReadBytes(Record(dir, "t.grec", frames));
  const std::string path = (dir.path() / "damaged.grec").string();
  // Every truncation: the open fails or the reader returns a prefix of the frames. (Seeking and
  // stepping on any bytes at all are the reader fuzzer's.)
  for (size_t cut = 0; cut < original.size(); cut += 61) {
    samples::WriteFileBytes(path, std::vector<uint8_t>(original.begin(), original.begin() + cut));
    auto reader = Open(path);
    const auto got = reader == nullptr ? std::vector<Read>{} : ReadAll(reader.get());
    ASSERT_LE(got.size(), frames.size()) << cut;
    for (size_t i = 0; i < got.size(); ++i) {
      ASSERT_EQ(got[i].stamp, frames[i].stampUs) << cut;
    }
  }
  // Length fields beyond the file or beyond 2^31 stop reading at that frame.
  auto bytes = original;
  const size_t third = 512 + 32 + grec::PaddedLength(frames[0].data.size()) + 16 + grec::PaddedLength(frames[1].data.size());
  ASSERT_EQ(TagKind(ReadU32(&bytes[third])), FRAME_TAG_P);
  for (uint32_t length : {0xFFFFFFFFu, 0x80000001u, static_cast<uint32_t>(original.size())}) {
    WriteU32(&bytes[third + 4], length);
    samples::WriteFileBytes(path, bytes);
    auto reader = Open(path);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(ReadAll(reader.get()).size(), 2u) << length;
  }
}

TEST(RecFile, PoolHandsOutFiveRecordsAndLosesNoFrame) {
  TempDir dir;
  const auto frames = MakeFrames(6, 12, 4, false, 30000);  // some need a larger buffer
  auto reader = Open(Record(dir, "pool.grec", frames));
  ASSERT_NE(reader, nullptr);
  FrameHead* held[5];
  for (auto*& f : held) {
    ASSERT_EQ(reader->ReadFrame(&f), 0);
  }
  FrameHead* sixth = nullptr;
  EXPECT_EQ(reader->ReadFrame(&sixth), 1);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(held[i]->u64Stamp, frames[i].stampUs);
    EXPECT_GE(held[i]->nCapacity, held[i]->nLength);
    reader->ReleaseFrame(held[i]);
  }
  const auto rest = ReadAll(reader.get());
  ASSERT_EQ(rest.size(), frames.size() - 5);
  EXPECT_EQ(rest[0].stamp, frames[5].stampUs);
  EXPECT_EQ(rest[0].data, frames[5].data);
}
