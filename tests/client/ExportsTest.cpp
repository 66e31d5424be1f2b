#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cstring>

#include "zephplay.h"

TEST(LibraryExports, InitializeRaisesTheOpenFileLimit) {
  rlimit lim{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &lim), 0);
  if (lim.rlim_max != RLIM_INFINITY && lim.rlim_max < 2048) {
    GTEST_SKIP() << "hard limit below 2048 here";
  }
  lim.rlim_cur = 256;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lim), 0);
  EXPECT_EQ(ZEPHPLAY_Initialize(), 0);
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &lim), 0);
  EXPECT_GE(lim.rlim_cur, 2048u);
  EXPECT_EQ(ZEPHPLAY_UnInitialize(), 0);
}

TEST(LibraryExports, NullAndShortArgumentsAreRefused) {
  EXPECT_EQ(ZEPHPLAY_OpenPlayHandle(nullptr), -1);
  EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(nullptr), -1);
  EXPECT_EQ(ZEPHPLAY_GetLibraryInfo(nullptr), -1);
  ZEPHPLAY_LIBRARY_INFO info;
  std::memset(&info, 0x5A, sizeof(info));
  info.nSize = sizeof(info) - 1;
  EXPECT_EQ(ZEPHPLAY_GetLibraryInfo(&info), -1);
  EXPECT_EQ(static_cast<unsigned char>(info.szVersion[0]), 0x5Au);
}
