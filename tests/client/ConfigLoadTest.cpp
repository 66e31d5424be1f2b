// The configuration is read when the library loads, from files beside the library file. These
// tests copy the built library into a scratch directory, write the files there, and load the copy
// in a child process, as a user's program would.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "common/TempDir.h"

namespace fs = std::filesystem;

namespace {

// A scratch directory with lib/libzephplay.so and app/probe.
class Scratch {
 public:
  Scratch() {
    fs::create_directories(root / "lib");
    fs::create_directories(root / "app");
    fs::copy_file(LIBRARY_PATH, root / "lib" / "libzephplay.so");
    fs::copy_file(PROBE_PATH, root / "app" / "probe");
  }
  // Runs the probe from the app directory on the library copy; env is prefixed to the command.
  std::map<std::string, std::string> Load(const std::string& env = "") {
    const std::string cmd = "env -u ZEPHPLAY_LOG_DIR -u ZEPHPLAY_LOG_LEVEL HOME='" + root.string() + "' " + env +
                            " '" + (root / "app" / "probe").string() + "' '" +
                            (root / "lib" / "libzephplay.so").string() + "'";
    EXPECT_EQ(std::system((cmd + " > '" + (root / "probe.out").string() + "'").c_str()), 0) << cmd;
    std::map<std::string, std::string> out;
    std::ifstream in(root / "probe.out");
    for (std::string line; std::getline(in, line);) {
      const auto eq = line.find('=');
      if (eq != std::string::npos) {
        out[line.substr(0, eq)] = line.substr(eq + 1);
      }
    }
    return out;
  }
  TempDir dir;
  const fs::path& root = dir.path();
};

}  // namespace

// Where the files and the log are looked for when there are none, the keys read from the file
// beside the library, the environment's log settings over them, and the application directory
// (which AppPath.INI beside the library moves) as the only source of WriteFile.
TEST(ConfigLoad, FilesBesideTheLibraryAndTheApplicationAndTheEnvironment) {
  Scratch s;
  auto v = s.Load();
  EXPECT_EQ(v["config"], (s.root / "lib" / "libzephplay.ini").string());
  EXPECT_EQ(v["appdir"], (s.root / "app").string() + "/");
  EXPECT_EQ(v["log"], (s.root / ".local/state/zephplay/libzephplay.log").string());
  EXPECT_EQ(v["loglevel"], "1");

  s.dir.File("lib/libzephplay.ini",
             "[FixedDecoder]\nH264=1\n"
             "[CONFIG]\nDefaultAudioCoder=7\nVideoMinDelay=500\nVideoMaxDelay=800\nVideoDelayEnable=0\n"
             "WriteFile=1\nLogDir=" + (s.root / "mylogs").string() + "\nLogLevel=2\n");
  v = s.Load();
  EXPECT_EQ(v["H264"], "1");
  EXPECT_EQ(v["DefaultAudioCoder"], "7");
  EXPECT_EQ(v["VideoMinDelay"], "500");
  EXPECT_EQ(v["VideoMaxDelay"], "800");
  EXPECT_EQ(v["VideoDelayEnable"], "0");
  EXPECT_EQ(v["WriteFile"], "0");
  EXPECT_EQ(v["log"], (s.root / "mylogs" / "libzephplay.log").string());
  EXPECT_EQ(v["loglevel"], "2");
  v = s.Load("ZEPHPLAY_LOG_DIR='" + (s.root / "envlogs").string() + "' ZEPHPLAY_LOG_LEVEL=0");
  EXPECT_EQ(v["log"], (s.root / "envlogs" / "libzephplay.log").string());
  EXPECT_EQ(v["loglevel"], "0");

  s.dir.File("app/libzephplay.ini", "[CONFIG]\nWriteFile=2\n");  // not the library file's 1
  EXPECT_EQ(s.Load()["WriteFile"], "2");
  s.dir.File("lib/AppPath.INI", "[APPPATH]\nSRC_TYPE=1\nAPPEND=../conf\n");
  s.dir.File("conf/libzephplay.ini", "[CONFIG]\nWriteFile=4\n");
  v = s.Load();
  EXPECT_EQ(v["appdir"], (s.root / "conf").string() + "/");
  EXPECT_EQ(v["WriteFile"], "4");
}
