#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <tuple>

#include "MediaTestSupport.h"
#include "media/CRecWriterGrec.h"

using namespace zp;
using namespace mediatest;

namespace {

// The recording as its bytes say, read without the library's readers.
struct Layout {
  struct Entry {
    uint32_t tod, offset;
    uint64_t stamp;
    uint32_t kind;
  };
  struct Written {
    uint64_t offset;
    uint32_t tag, length, field8, backLink;
    uint64_t stamp;
  };
  std::vector<uint8_t> bytes;
  std::vector<Written> frames;
  std::vector<Entry> trailer;
  bool trailerFound = false;
};

Layout ReadLayout(const std::string& path) {
  Layout out;
  out.bytes = ReadBytes(path);
  const auto& b = out.bytes;
  EXPECT_GE(b.size(), 512u);
  const uint32_t indexOffset = ReadU32(&b[68]);
  const uint64_t end = indexOffset != 0 ? indexOffset : b.size();
  uint64_t at = 512;
  while (at + 16 <= end) {
    Layout::Written w{};
    w.offset = at;
    w.tag = ReadU32(&b[at]);
    w.length = ReadU32(&b[at + 4]);
    const bool video = w.tag == 0x63643000 || w.tag == 0x63643100;
    const uint64_t head = video ? 32 : 16;
    if (video) {
      w.field8 = ReadU32(&b[at + 8]);
      w.backLink = ReadU32(&b[at + 12]);
      w.stamp = ReadU64(&b[at + 16]);
      EXPECT_EQ(ReadU64(&b[at + 24]), 0u);
    } else {
      w.stamp = ReadU64(&b[at + 8]);
    }
    const uint64_t padded = (w.length + 7) / 8 * 8;
    if (at + head + padded > end) {
      break;
    }
    EXPECT_EQ(std::vector<uint8_t>(b.begin() + at + head + w.length, b.begin() + at + head + padded),
              std::vector<uint8_t>(padded - w.length, 0)) << "padding of the frame at " << at;
    out.frames.push_back(w);
    at += head + padded;
  }
  if (indexOffset != 0) {
    EXPECT_EQ(at, indexOffset) << "frames run up to the trailer";
    out.trailerFound = ReadU32(&b[indexOffset]) == 0x08070621 && ReadU32(&b[indexOffset + 4]) == 8;
    for (uint64_t e = indexOffset + 8; e + 20 <= b.size(); e += 20) {
      out.trailer.push_back({ReadU32(&b[e]), ReadU32(&b[e + 4]), ReadU64(&b[e + 8]), ReadU32(&b[e + 16])});
    }
    EXPECT_EQ((b.size() - indexOffset - 8) % 20, 0u);
  }
  return out;
}

void ExpectSameFrames(const std::vector<Read>& got, const std::vector<Frame>& want) {
  ASSERT_EQ(got.size(), want.size());
  for (size_t i = 0; i < want.size(); ++i) {
    const uint32_t type = TagKind(want[i].tag) == FRAME_TAG_AUDIO ? FRAME_TAG_WAVE : TagKind(want[i].tag);
    EXPECT_EQ(got[i].type, type) << i;
    EXPECT_EQ(got[i].stamp, type == FRAME_TAG_DATA ? 0 : want[i].stampUs) << i;
    ASSERT_EQ(got[i].data, want[i].data) << i;
  }
}

}  // namespace

TEST(RecWriterGrec, WrittenBytesFollowTheLayout) {
  TempDir dir;
  std::vector<Frame> frames = {
      {0x63643005, std::vector<uint8_t>(13, 0xA1), 1000000},  // sub-code cleared on writing
      {FRAME_TAG_P, std::vector<uint8_t>(16, 0xA2), 1040000},
      {FRAME_TAG_WAVE, std::vector<uint8_t>(13, 0xA3), 1050000},
      {FRAME_TAG_DATA, std::vector<uint8_t>(5, 0xA4), 1060000},
      {FRAME_TAG_P, {}, 1080000},
      {FRAME_TAG_I, std::vector<uint8_t>(1, 0xA5), 1120000},
  };
  const std::string path = Record(dir, "layout.grec", frames);
  const Layout layout = ReadLayout(path);
  const auto& b = layout.bytes;
  for (const auto& [off, value] : {std::pair{0, 0x12345678u}, {4, 8u}, {60, 1u}, {64, 1u}, {72, 0u}}) {
    EXPECT_EQ(ReadU32(&b[off]), value) << off;
  }
  for (int off : {49, 50, 51, 53, 54, 56}) {
    EXPECT_EQ(b[off], 1) << off;
  }
  EXPECT_EQ(b[55], 0);  // 54 is a 16-bit 1
  EXPECT_EQ(std::vector<uint8_t>(b.begin() + 456, b.begin() + 512), std::vector<uint8_t>(56, 0));
  ASSERT_EQ(layout.frames.size(), frames.size());
  // 13 payload bytes take 32 + 13 + 3 (video) and 16 + 13 + 3 (audio).
  EXPECT_EQ(layout.frames[1].offset - layout.frames[0].offset, 48u);
  EXPECT_EQ(layout.frames[3].offset - layout.frames[2].offset, 32u);
  EXPECT_EQ(layout.frames[0].tag, FRAME_TAG_I);
  // Nothing before the first key frame; predicted frames carry none.
  EXPECT_EQ(std::make_pair(layout.frames[0].backLink, layout.frames[1].backLink), std::make_pair(0u, 0u));
  EXPECT_EQ(layout.frames[5].backLink, layout.frames[5].offset - layout.frames[4].offset);
  EXPECT_EQ(layout.frames[2].stamp, 1050000u);
  EXPECT_EQ(layout.frames[3].stamp, 0u);  // data frames are written without stamp
  const uint32_t hms = layout.frames[0].field8;
  EXPECT_LT(hms & 0xFF, 24u);
  EXPECT_LT((hms >> 8) & 0xFF, 60u);
  EXPECT_EQ(hms >> 24, 0u);
  // Trailer: the two key frames and the data frame, in writing order.
  ASSERT_TRUE(layout.trailerFound);
  const auto& t = layout.trailer;
  ASSERT_EQ(t.size(), 3u);
  const uint32_t tod = (hms & 0xFF) * 3600 + ((hms >> 8) & 0xFF) * 60 + ((hms >> 16) & 0xFF);
  EXPECT_EQ(std::tie(t[0].offset, t[0].kind, t[0].tod), std::make_tuple(512u, FRAME_TAG_I, tod));
  EXPECT_EQ(std::tie(t[1].kind, t[1].tod, t[1].stamp), std::make_tuple(FRAME_TAG_DATA, 0u, uint64_t{1060000}));
  EXPECT_EQ(std::tie(t[2].offset, t[2].stamp), std::make_tuple(uint32_t(layout.frames[5].offset), uint64_t{1120000}));
  // Without a begin time the head's start and end times are the first and last entries' times of day.
  EXPECT_EQ(b[40] * 3600 + b[41] * 60 + b[42], static_cast<int>(tod));
  EXPECT_EQ(b[46] * 3600 + b[47] * 60 + b[48], static_cast<int>(t[2].tod));
}

// One writer, closed and opened again on a second file. The refusals of a short head and a bad
// date are the recording exports' test.
TEST(RecWriterGrec, OffsetsIndexOnlyWhenNeededBeginTimeAndHead) {
  TempDir dir;
  const std::string path = (dir.path() / "p.grec").string();
  CRecWriterGrec writer;
  ASSERT_EQ(writer.OpenWriter(path.c_str(), CRecWriter::kNarrowPath), 0);
  uint32_t payload = 0, next = 0;
  const std::vector<uint8_t> data(21, 1);
  ASSERT_EQ(writer.WriteFrame(data.data(), 21, FRAME_TAG_P, 5, &payload, &next), 0);
  EXPECT_EQ(payload, 512u + 32);
  EXPECT_EQ(next, 512u + 32 + 24);
  ASSERT_EQ(writer.WriteFrame(data.data(), 21, FRAME_TAG_WAVE, 6, &payload, &next), 0);
  EXPECT_EQ(payload, 568u + 16);
  EXPECT_EQ(writer.WriteFrame(nullptr, 3, FRAME_TAG_P, 7, nullptr, nullptr), -1);
  writer.CloseWriter();
  EXPECT_EQ(writer.WriteFrame(data.data(), 21, FRAME_TAG_P, 8, nullptr, nullptr), -1);
  // Neither a key frame nor a data frame: no trailer, index offset stays 0.
  const auto bytes = ReadBytes(path);
  EXPECT_EQ(ReadU32(&bytes[68]), 0u);
  EXPECT_EQ(bytes.size(), 512u + 56 + 40);

  const std::string headed = (dir.path() / "h.grec").string();
  ASSERT_EQ(writer.OpenWriter(headed.c_str(), CRecWriter::kNarrowPath), 0);
  std::vector<uint8_t> head(456, 0xCC);
  WriteU32(&head[0], 0x12345678);
  WriteU32(&head[68], 0xDEAD);  // the writer's own field: ignored
  WriteU32(&head[72], 0);
  ASSERT_EQ(writer.SetFileHead(head.data(), 456), 0);
  EXPECT_EQ(writer.SetFileBeginTime(1, 2025, 12, 31, 23 * 3600 + 59 * 60 + 58), 0);
  ASSERT_EQ(writer.WriteFrame(data.data(), 8, FRAME_TAG_I, 10, nullptr, nullptr), 0);
  writer.CloseWriter();
  const auto b = ReadBytes(headed);
  EXPECT_EQ(std::make_tuple(b[100], b[455], b[456]), std::make_tuple(0xCC, 0xCC, 0));
  EXPECT_EQ(std::vector<uint8_t>(&b[37], &b[43]), (std::vector<uint8_t>{25, 12, 31, 23, 59, 58}));
  EXPECT_EQ(std::vector<uint8_t>(&b[43], &b[49]), std::vector<uint8_t>(6, 0xCC));  // end time kept from the head
  EXPECT_EQ(ReadU32(&b[68]), 512u + 32 + 8);
}

TEST(RecWriterGrec, ReopenedRecordingIsAppendedTo) {
  TempDir dir;
  const auto first = MakeFrames(1, 50, 10, true);
  auto second = MakeFrames(2, 30, 10, true);
  for (Frame& f : second) {
    f.stampUs += 10000000;
  }
  const std::string path = Record(dir, "append.grec", first);
  const uint32_t oldIndex = ReadU32(&ReadBytes(path)[68]);
  samples::GrecOptions append;
  append.append = true;
  const samples::GrecResult appended = samples::WriteGrecFile(path, second, append);
  ASSERT_TRUE(appended.ok);
  EXPECT_EQ(appended.recordedMs, (first[80].stampUs - first[0].stampUs) / 1000);  // last key frame is video frame 40
  EXPECT_EQ(appended.payloadOffsets[0], oldIndex + 32);                           // over the old trailer

  const Layout layout = ReadLayout(path);
  ASSERT_TRUE(layout.trailerFound);
  EXPECT_EQ(layout.trailer.size(), 5u + 3u);
  EXPECT_EQ(layout.frames.size(), first.size() + second.size());
  std::vector<Frame> all = first;
  all.insert(all.end(), second.begin(), second.end());
  auto reader = Open(path);
  ASSERT_NE(reader, nullptr);
  ExpectSameFrames(ReadAll(reader.get()), all);

  // A file that is no recording is started again.
  const std::string other = (dir.path() / "junk.grec").string();
  samples::WriteFileBytes(other, std::vector<uint8_t>(2000, 0x5A));
  CRecWriterGrec writer;
  uint32_t recorded = 7;
  ASSERT_EQ(writer.OpenWriterEx(other.c_str(), &recorded, CRecWriter::kNarrowPath), 0);
  EXPECT_EQ(recorded, 0u);
  writer.CloseWriter();
  EXPECT_EQ(ReadU32(&ReadBytes(other)[0]), 0x12345678u);
}

TEST(RecWriterGrec, KilledWriterLeavesAReadableRecording) {
  TempDir dir;
  const std::string path = (dir.path() / "killed.grec").string();
  const auto frames = MakeFrames(3, 120, 25, true);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    CRecWriterGrec writer;
    if (writer.OpenWriter(path.c_str(), CRecWriter::kNarrowPath) != 0) {
      _exit(3);
    }
    for (const Frame& f : frames) {
      writer.WriteFrame(f.data.data(), static_cast<uint32_t>(f.data.size()), f.tag, f.stampUs, nullptr, nullptr);
    }
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  // The frames that reached the file: each once its payload is in; the last video header in the
  // file gives the end.
  const uint64_t size = std::filesystem::file_size(path);
  std::vector<Frame> reached;
  uint64_t lastVideo = 0, at = 512;
  for (const Frame& f : frames) {
    const uint64_t head = IsVideoKind(f.tag) ? 32 : 16;
    if (IsVideoKind(f.tag) && at + head <= size) {
      lastVideo = f.stampUs;
    }
    if (at + head + f.data.size() > size) {
      break;
    }
    reached.push_back(f);
    at += head + grec::PaddedLength(f.data.size());
  }
  ASSERT_GT(reached.size(), frames.size() / 2);
  auto reader = Open(path);
  ASSERT_NE(reader, nullptr);
  ExpectSameFrames(ReadAll(reader.get()), reached);
  FileInfo info;
  reader->GetFileInfo(&info);
  EXPECT_EQ(info.u64FileBegPts, frames[0].stampUs);
  EXPECT_EQ(info.u64FileEndPts, lastVideo);
}

TEST(RecWriterFactory, ChoosesByName) {
  for (const auto& [path, mp4] : {std::pair{"/x/B.MP4", true}, {".mp4", false}, {"a.mp4x", false}}) {
    std::unique_ptr<CRecWriter> w(CRecWriter::CreateRecWriter(path, CRecWriter::kNarrowPath));
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(dynamic_cast<CRecWriterGrec*>(w.get()) == nullptr, mp4) << path;
  }
  EXPECT_EQ(CRecWriter::CreateRecWriter(nullptr, 1), nullptr);
}
