#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <vector>

#include "common/TempDir.h"
#include "support/Deadline.h"
#include "zephplay.h"

TEST(RecordExports, FileHeadIsFilledInTheCallersBuffer) {
  uint32_t length = 0;
  EXPECT_EQ(ZEPHPLAY_GetFileHeadLength(&length), 0);
  EXPECT_EQ(length, 512u);
  EXPECT_EQ(ZEPHPLAY_GetFileHeadLength(nullptr), -1);
  std::vector<uint8_t> head(600, 0xEE);
  length = 455;
  EXPECT_EQ(ZEPHPLAY_GetFileHead(head.data(), &length), -1);
  EXPECT_EQ(length, 455u);
  EXPECT_EQ(head[0], 0xEE);
  length = 456;
  ASSERT_EQ(ZEPHPLAY_GetFileHead(head.data(), &length), 0);
  EXPECT_EQ(length, 512u);
  // The head's fields are the writer's (checked byte by byte with it); here: filled, dated now,
  // and nothing written outside its fields.
  EXPECT_EQ(std::vector<uint8_t>(&head[0], &head[4]), (std::vector<uint8_t>{0x78, 0x56, 0x34, 0x12}));
  EXPECT_EQ(std::memcmp(&head[37], &head[43], 6), 0);
  EXPECT_GE(head[37], 24);  // year - 2000
  for (const size_t untouched : {36, 52, 200, 456}) {
    EXPECT_EQ(head[untouched], 0xEE) << untouched;
  }
  EXPECT_EQ(ZEPHPLAY_GetFileHead(nullptr, &length), -1);
}

TEST(RecordExports, WriteThenReadARecording) {
  TempDir dir;
  const std::string path = (dir.path() / "rec.grec").string();
  ZEPHPLAY_WRITER* writer = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenWriter(&writer, path.c_str()), 0);
  ASSERT_NE(writer, nullptr);
  std::vector<uint8_t> head(512, 0);
  uint32_t length = 512;
  ASSERT_EQ(ZEPHPLAY_GetFileHead(head.data(), &length), 0);
  EXPECT_EQ(ZEPHPLAY_SetFileHead(writer, head.data(), 455), -1);
  EXPECT_EQ(ZEPHPLAY_SetFileHead(writer, head.data(), 512), 0);
  EXPECT_EQ(ZEPHPLAY_SetFileBeginTime(writer, 1, 0, 1, 1, 0), 1);
  EXPECT_EQ(ZEPHPLAY_SetFileBeginTime(writer, 1, 2026, 3, 4, 3600 * 5 + 60 * 6 + 7), 0);
  const std::vector<uint8_t> payload(1000, 0x42);
  for (int i = 0; i < 100; ++i) {
    const uint32_t tag = i % 25 == 0 ? 0x63643030u : 0x63643130u;  // player frame types are accepted
    uint32_t at = 0;
    uint32_t next = 0;
    ASSERT_EQ(ZEPHPLAY_WriteFrame(writer, payload.data(), 1000, tag, 2000000 + i * 40000ull, &at, &next), 0);
    EXPECT_EQ(next - at, 1000u);
  }
  EXPECT_EQ(ZEPHPLAY_CloseWriter(writer), 0);
  const auto bytes = zp::test::ReadBytes(path);
  EXPECT_EQ(std::vector<uint8_t>(&bytes[37], &bytes[43]), (std::vector<uint8_t>{26, 3, 4, 5, 6, 7}));

  ZEPHPLAY_READER* reader = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenReader(&reader, path.c_str()), 0);
  ZEPHPLAY_RECORD_INFO info;
  ASSERT_EQ(ZEPHPLAY_ReadFileInfo(reader, &info), 0);
  EXPECT_EQ((std::vector<int>{info.wYear, info.wMonth, info.wDay, info.wHour, info.wMinute, info.wSecond}),
            (std::vector<int>{26, 3, 4, 5, 6, 7}));
  EXPECT_EQ(info.nTotalMinSecond, 3000u);  // key frames at 0, 1, 2, 3 s
  uint32_t offset = 0;
  ASSERT_EQ(ZEPHPLAY_ReadTimeOffset(reader, 2100, &offset), 0);
  EXPECT_EQ(offset, 512u + 50 * 1032);
  EXPECT_EQ(ZEPHPLAY_ReadTimeOffset(reader, 3001, &offset), 1);
  EXPECT_EQ(ZEPHPLAY_ReadTimeOffset(reader, 0, nullptr), -1);
  EXPECT_EQ(ZEPHPLAY_CloseReader(reader), 0);

  // Appending reports what is there; a wide path reaches the same file.
  uint32_t recorded = 0;
  const std::wstring wide(path.begin(), path.end());  // the path is ASCII
  ASSERT_EQ(ZEPHPLAY_OpenWriterWEx(&writer, wide.c_str(), &recorded), 0);
  EXPECT_EQ(recorded, 3000u);
  EXPECT_EQ(ZEPHPLAY_CloseWriter(writer), 0);
  ASSERT_EQ(ZEPHPLAY_OpenWriterEx(&writer, path.c_str(), nullptr), 0);
  EXPECT_EQ(ZEPHPLAY_CloseWriter(writer), 0);
  const std::string dirName = dir.path().string();
  const std::wstring widePath = std::wstring(dirName.begin(), dirName.end()) + L"/wide\u00e9.grec";
  ASSERT_EQ(ZEPHPLAY_OpenWriterW(&writer, widePath.c_str()), 0);
  EXPECT_EQ(ZEPHPLAY_CloseWriter(writer), 0);
  EXPECT_TRUE(std::filesystem::exists(dirName + "/wide\xC3\xA9.grec"));  // named in UTF-8
}

TEST(RecordExports, RefusalsReturnMinusOne) {
  TempDir dir;
  ZEPHPLAY_WRITER* writer = reinterpret_cast<ZEPHPLAY_WRITER*>(0x1);
  EXPECT_EQ(ZEPHPLAY_OpenWriter(&writer, (dir.path() / "none" / "x.grec").c_str()), -1);
  ZEPHPLAY_READER* reader = nullptr;
  EXPECT_EQ(ZEPHPLAY_OpenReader(&reader, (dir.path() / "missing.grec").c_str()), -1);
  EXPECT_EQ(reader, nullptr);
  const std::string notGrec = dir.File("plain.grec", std::string(1000, 'x'));
  EXPECT_EQ(ZEPHPLAY_OpenReader(&reader, notGrec.c_str()), -1);
  // Every code is -1, and an AND of them stays -1 only when each one is.
  ZEPHPLAY_RECORD_INFO info;
  uint32_t offset = 0;
  EXPECT_EQ(ZEPHPLAY_OpenWriter(nullptr, "x.grec") & ZEPHPLAY_OpenWriter(&writer, nullptr) &
                ZEPHPLAY_OpenWriterW(&writer, nullptr) & ZEPHPLAY_SetFileBeginTime(nullptr, 1, 2026, 1, 1, 0) &
                ZEPHPLAY_SetFileHead(nullptr, nullptr, 512) & ZEPHPLAY_WriteFrame(nullptr, nullptr, 0, 0, 0, nullptr, nullptr) &
                ZEPHPLAY_CloseWriter(nullptr) & ZEPHPLAY_OpenReader(nullptr, notGrec.c_str()) &
                ZEPHPLAY_ReadFileInfo(nullptr, &info) & ZEPHPLAY_ReadTimeOffset(nullptr, 0, &offset) & ZEPHPLAY_CloseReader(nullptr),
            -1);
}
