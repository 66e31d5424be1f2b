#include <gtest/gtest.h>

#include "TempDir.h"
#include "common/CLibraryConfig.h"

using zp::CLibraryConfig;

TEST(LibraryConfig, TheFileIsNamedAfterTheLibrary) {
  EXPECT_EQ(CLibraryConfig("/opt/x/libzephplay.so.1.0.0", "").IniFileName(), "libzephplay.ini");
  EXPECT_EQ(CLibraryConfig("/opt/x/libzephplay.so", "").IniFileName(), "libzephplay.ini");
  EXPECT_EQ(CLibraryConfig("C:/x/libzephplay.dll", "").IniFileName(), "libzephplay.ini");
  EXPECT_EQ(CLibraryConfig("/opt/x/libzephplay.so", "").LibraryIniPath(), "/opt/x/libzephplay.ini");
}

TEST(LibraryConfig, AppPathIniMovesTheApplicationDirectoryOnceAndForAll) {
  TempDir lib;
  lib.File("AppPath.INI", "[APPPATH]\nSRC_TYPE=1\nAPPEND=../app/./conf\n");
  lib.File("sub/placeholder", "");
  const std::string libFile = (lib.path() / "sub" / "libzephplay.so").string();
  CLibraryConfig config(libFile, "/usr/bin/host");
  lib.File("sub/AppPath.INI", "[APPPATH]\nSRC_TYPE=1\nAPPEND=../app/./conf\n");
  EXPECT_EQ(config.AppDirectory(), (lib.path() / "app" / "conf").string() + "/");
  lib.File("app/conf/libzephplay.ini", "[CONFIG]\nWriteFile=1\n");
  EXPECT_EQ(config.WriteFile(), 1);
  // Worked out once: a later change of AppPath.INI does not move it.
  lib.File("sub/AppPath.INI", "[APPPATH]\nSRC_TYPE=0\n");
  EXPECT_EQ(config.AppDirectory(), (lib.path() / "app" / "conf").string() + "/");
}

TEST(LibraryConfig, AnEmptyAppendMeansTheLibraryDirectoryAndZeroTypeIsIgnored) {
  TempDir lib;
  lib.File("AppPath.INI", "[apppath]\nsrc_type=2\nAPPEND=\n");
  CLibraryConfig config((lib.path() / "libzephplay.so").string(), "/usr/bin/host");
  EXPECT_EQ(config.AppDirectory(), lib.path().string() + "/");

  TempDir other;
  other.File("AppPath.INI", "[APPPATH]\nSRC_TYPE=0\nAPPEND=elsewhere\n");
  CLibraryConfig plain((other.path() / "libzephplay.so").string(), "/usr/bin/host");
  EXPECT_EQ(plain.AppDirectory(), "/usr/bin/");
}
