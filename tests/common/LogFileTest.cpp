#include <gtest/gtest.h>

#include <filesystem>

#include "TempDir.h"
#include "common/CLogFile2.h"
#include "support/Deadline.h"

using zp::CLogFile2;
using zp::test::ReadText;

TEST(LogFile, WritesLinesAtOrAboveTheThresholdWithTheirLevel) {
  TempDir dir;
  CLogFile2 log((dir.path() / "logs").string(), 1);
  log.SetLogName("libzephplay");
  log.WriteStrInfoEx(0, "%s hidden", "Detail");
  log.WriteStrInfoEx(1, "%s SUC", "ZEPHPLAY_Test");
  log.WriteStrInfoEx(2, "%s failed %d", "CSomething::Do", -3);
  const uint8_t bytes[18] = {0x00, 0x01, 0xAB, 0xFF, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
  log.WriteHex(1, "head", bytes, sizeof(bytes));
  log.Close();
  log.WriteStrInfoEx(2, "%s after close", "Late");

  EXPECT_EQ(log.FilePath(), (dir.path() / "logs" / "libzephplay.log").string());
  const std::string text = ReadText(log.FilePath());
  EXPECT_EQ(text.find("hidden"), std::string::npos);
  for (const char* part : {"[info] [", "ZEPHPLAY_Test SUC", "[error]", "CSomething::Do failed -3",
                           "00 01 AB FF 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F", "] 10 11\n"}) {
    EXPECT_NE(text.find(part), std::string::npos) << part;
  }
  EXPECT_EQ(text.find("after close"), std::string::npos);
}

// spdlog throws when it cannot make the file: the log swallows that and writes nothing anywhere.
TEST(LogFile, AnUnwritableDirectoryLeavesTheLogSilent) {
  TempDir dir;
  const std::string blocker = dir.File("file", "x");
  CLogFile2 log(blocker + "/sub", 0);
  log.SetLogName("libzephplay");
  EXPECT_NO_THROW(log.WriteStrInfoEx(2, "%s nowhere to go", "Test"));
  EXPECT_NO_THROW(log.WriteHex(2, "t", "abc", 3));
  EXPECT_EQ(ReadText(blocker), "x");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}
