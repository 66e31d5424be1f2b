#include <gtest/gtest.h>

#include "TempDir.h"
#include "common/CIniFile.h"

using zp::CIniFile;

TEST(IniFile, ReadsLikeThePrivateProfileReaderAndDefaultsWithoutAFile) {
  TempDir dir;
  const CIniFile ini(dir.File("a.ini",
                              "[config]\n"
                              "videominDELAY = 1500\n"
                              "Neg=-7\n"
                              "Unit=12ms\n"
                              "Word=abc\n"
                              "Empty=\n"
                              "Twice=1\n"
                              "Twice=2\n"
                              "[Other]\n"
                              "Name = some dir\n"));
  EXPECT_EQ(ini.ReadInt("CONFIG", "VideoMinDelay", 2000), 1500);
  EXPECT_EQ(ini.ReadInt("CONFIG", "Neg", 0), -7);
  EXPECT_EQ(ini.ReadInt("CONFIG", "Unit", 0), 12);
  EXPECT_EQ(ini.ReadInt("CONFIG", "Word", 5), 0);
  EXPECT_EQ(ini.ReadInt("CONFIG", "Empty", 5), 5);
  EXPECT_EQ(ini.ReadInt("CONFIG", "Twice", 0), 1);
  EXPECT_EQ(ini.ReadInt("CONFIG", "Missing", 33), 33);
  EXPECT_EQ(ini.ReadInt("Other", "VideoMinDelay", 44), 44);
  EXPECT_EQ(ini.ReadString("other", "NAME", "x"), "some dir");
  EXPECT_EQ(ini.ReadString("other", "none", "x"), "x");
  // A missing, unreadable or binary file gives the defaults.
  EXPECT_EQ(CIniFile((dir.path() / "absent.ini").string()).ReadInt("CONFIG", "H264", -1), -1);
  EXPECT_EQ(CIniFile(dir.path().string()).ReadInt("CONFIG", "H264", -1), -1);
  EXPECT_EQ(CIniFile(dir.File("bin.ini", std::string("\x00\xff[\n=\n", 6))).ReadInt("CONFIG", "H264", 9), 9);
}
