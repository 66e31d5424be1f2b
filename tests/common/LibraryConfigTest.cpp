#include <gtest/gtest.h>

#include "TempDir.h"
#include "common/CLibraryConfig.h"

using zp::CLibraryConfig;

// The plain .so's file, found beside it, is the client configuration test's.
TEST(LibraryConfig, TheFileIsNamedAfterTheLibrary) {
  EXPECT_EQ(CLibraryConfig("/opt/x/libzephplay.so.1.0.0", "").IniFileName(), "libzephplay.ini");
  EXPECT_EQ(CLibraryConfig("C:/x/libzephplay.dll", "").IniFileName(), "libzephplay.ini");
}

// Worked out once from AppPath.INI beside the library: an empty APPEND means the library's
// directory, and a zero SRC_TYPE leaves the program's.
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

  lib.File("empty/AppPath.INI", "[apppath]\nsrc_type=2\nAPPEND=\n");
  EXPECT_EQ(CLibraryConfig((lib.path() / "empty" / "libzephplay.so").string(), "/usr/bin/host").AppDirectory(),
            (lib.path() / "empty").string() + "/");
  lib.File("zero/AppPath.INI", "[APPPATH]\nSRC_TYPE=0\nAPPEND=elsewhere\n");
  EXPECT_EQ(CLibraryConfig((lib.path() / "zero" / "libzephplay.so").string(), "/usr/bin/host").AppDirectory(),
            "/usr/bin/");
}
