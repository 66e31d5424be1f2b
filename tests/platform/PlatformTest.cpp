#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "platform/CEvent.h"
#include "platform/ModulePath.h"
#include "platform/TempFile.h"
#include "platform/Tick.h"
#include "platform/WidePath.h"

using namespace zp::platform;

TEST(Platform, WidePathsBecomeUtf8) {
  EXPECT_EQ(WideToUtf8(nullptr), "");
  EXPECT_EQ(WideToUtf8(L"/tmp/a.grec"), "/tmp/a.grec");
  EXPECT_EQ(WideToUtf8(L"/\u00e9t\u00e9/\u8f66\u8f86/\U0001F697"), "/\xC3\xA9t\xC3\xA9/\xE8\xBD\xA6\xE8\xBE\x86/\xF0\x9F\x9A\x97");
  const wchar_t bad[] = {L'a', static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000), 0};
  EXPECT_EQ(WideToUtf8(bad), "a\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Platform, TempFilesAreNewFilesWithThePrefix) {
  const std::string a = CreateTempFile("zephplay");
  const std::string b = CreateTempFile("zephplay");
  ASSERT_FALSE(a.empty());
  ASSERT_NE(a, b);
  EXPECT_EQ(a.rfind(TempDirectory() + "zephplay", 0), 0u);
  EXPECT_TRUE(std::filesystem::is_regular_file(a));
  EXPECT_EQ(std::filesystem::file_size(a), 0u);
  std::filesystem::remove(a);
  std::filesystem::remove(b);

  setenv("TMPDIR", "/nonexistent-dir-for-test", 1);
  EXPECT_EQ(CreateTempFile("AudioFile"), "");
  unsetenv("TMPDIR");
}

TEST(Platform, DirectoriesOfPaths) {
  EXPECT_EQ(DirectoryOf("/a/b/libzephplay.so"), "/a/b/");
  EXPECT_EQ(DirectoryOf("libzephplay.so"), "./");
  EXPECT_EQ(FullDirectoryPath("/a/b/", "../c/./d"), "/a/c/d/");
  EXPECT_EQ(FullDirectoryPath("/a/b/", ""), "/a/b/");
  EXPECT_EQ(FullDirectoryPath("/a/b/", "/abs"), "/abs/");
  EXPECT_FALSE(ExecutableFilePath().empty());
  EXPECT_FALSE(ModuleFilePath().empty());
}

TEST(Platform, TicksAdvanceInMilliseconds) {
  const uint32_t a = TickCountMs();
  SleepMs(20);
  const uint32_t elapsed = TickCountMs() - a;  // unsigned difference survives the wrap
  EXPECT_GE(elapsed, 19u);
  EXPECT_LT(elapsed, 5000u);
}

TEST(Platform, AManualResetEventReleasesEveryWaiterUntilReset) {
  CEvent ev;
  EXPECT_FALSE(ev.Wait(0));
  EXPECT_FALSE(ev.Wait(5));
  std::thread a([&] { EXPECT_TRUE(ev.Wait(10000)); });  // a lost Set fails, never hangs
  std::thread b([&] { EXPECT_TRUE(ev.Wait(10000)); });
  ev.Set();
  a.join();
  b.join();
  EXPECT_TRUE(ev.Wait(0) && ev.IsSet());
  ev.Reset();
  EXPECT_FALSE(ev.Wait(0));
}
