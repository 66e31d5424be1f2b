#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cmath>
#include <cstring>

#include "zephplay.h"

namespace {

ZEPHPLAY_LIBRARY_INFO Info() {
  ZEPHPLAY_LIBRARY_INFO info;
  std::memset(&info, 0, sizeof(info));
  info.nSize = sizeof(info);
  EXPECT_EQ(ZEPHPLAY_GetLibraryInfo(&info), 0);
  return info;
}

}  // namespace

TEST(LibraryExports, SettersStoreWhatTheyAreGiven) {
  const ZEPHPLAY_LIBRARY_INFO before = Info();
  EXPECT_EQ(before.dAudioGain, 1.0);
  EXPECT_EQ(before.nAecParam1, 0);
  EXPECT_EQ(before.nAecParam2, 109);
  EXPECT_EQ(before.nUseSpeex, 0);
  EXPECT_EQ(before.nUseDXVA2, 1);
  EXPECT_EQ(before.nWaterEnable, 0);

  EXPECT_EQ(ZEPHPLAY_SetAudioGain(0.5), 0);
  EXPECT_EQ(Info().dAudioGain, 1.0);
  EXPECT_EQ(ZEPHPLAY_SetAudioGain(30.0), 0);
  EXPECT_EQ(Info().dAudioGain, 25.0);
  EXPECT_EQ(ZEPHPLAY_SetAudioGain(3.0), 0);
  EXPECT_EQ(Info().dAudioGain, 3.0);
  EXPECT_EQ(ZEPHPLAY_SetAudioGain(NAN), 0);
  EXPECT_EQ(Info().dAudioGain, 1.0);

  EXPECT_EQ(ZEPHPLAY_SetAecParam(-4, 77), 0);
  EXPECT_EQ(ZEPHPLAY_SetUseSpeex(1), 0);
  EXPECT_EQ(ZEPHPLAY_SetUseDXVA2(0), 0);
  EXPECT_EQ(ZEPHPLAY_SetWaterEable(1), 0);
  EXPECT_EQ(ZEPHPLAY_SetDDrawParam(12345), 0);
  const ZEPHPLAY_LIBRARY_INFO after = Info();
  EXPECT_EQ(after.nAecParam1, -4);
  EXPECT_EQ(after.nAecParam2, 77);
  EXPECT_EQ(after.nUseSpeex, 1);
  EXPECT_EQ(after.nUseDXVA2, 0);
  EXPECT_EQ(after.nWaterEnable, 1);
}

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

TEST(LibraryExports, HandlesOpenAndCloseIndependently) {
  ZEPHPLAY_PLAYHANDLE* a = nullptr;
  ZEPHPLAY_PLAYHANDLE* b = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenPlayHandle(&a), 0);
  ASSERT_EQ(ZEPHPLAY_OpenPlayHandle(&b), 0);
  EXPECT_NE(a, b);
  EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(a), 0);
  EXPECT_EQ(ZEPHPLAY_ClosePlayHandle(b), 0);
}
