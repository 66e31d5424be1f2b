// Capture-and-encode through the C API on SDL's disk microphone: frames, saving and closing.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "Delivered.h"
#include "zephplay.h"

namespace {

using zp::test::DiskAudio;

using Frames = zp::test::Delivered<ZEPHPLAY_ACE, &ZEPHPLAY_ACEClose>;

TEST(CaptureEncodeExports, PcmFramesCarryTheMicrophoneAndTheSaveFileHoldsWhatWasDelivered) {
  const std::vector<uint8_t> mic = zp::test::Ramp(16000);
  DiskAudio microphone(1, mic);
  Frames f;
  ZEPHPLAY_ACE* ace = nullptr;
  ASSERT_EQ(ZEPHPLAY_ACEOpen(&ace, 20, reinterpret_cast<uint64_t>(&f), &Frames::Take), 0);
  ASSERT_TRUE(f.WaitForBuffers(5));
  ASSERT_EQ(ZEPHPLAY_ACEStartSaveToFile(ace), 0);
  char path[260];
  ASSERT_EQ(ZEPHPLAY_ACEGetSavePath(ace, path), 0);
  EXPECT_EQ(ZEPHPLAY_ACEStartSaveToFile(ace), 1);
  char again[260];
  ZEPHPLAY_ACEGetSavePath(ace, again);
  EXPECT_STREQ(path, again);
  EXPECT_NE(std::string(path).find("AudioFile"), std::string::npos);
  const size_t before = f.Count();
  ASSERT_TRUE(f.WaitForBuffers(before + 20));
  EXPECT_EQ(ZEPHPLAY_ACEStopSaveToFile(ace), 1);
  uint32_t span = 0;
  EXPECT_EQ(ZEPHPLAY_ACEGetTime(ace, &span), 0);
  EXPECT_GT(span, 0u);
  ASSERT_TRUE(f.WaitForBuffers(mic.size() / 320));
  ASSERT_EQ(ZEPHPLAY_ACEClose(ace), 0);

  for (const auto& frame : f.buffers) {
    uint32_t length = 0;
    std::memcpy(&length, frame.data(), 4);
    EXPECT_EQ(length + 12, frame.size()) << "the head's payload length";
  }
  const std::vector<uint8_t> payloads = f.Joined(12);
  ASSERT_GE(payloads.size(), mic.size());
  EXPECT_TRUE(std::equal(mic.begin(), mic.end(), payloads.begin()));
  // The file is a run of whole delivered frames from about the start of saving.
  const std::vector<uint8_t> saved = zp::test::ReadBytes(path);
  std::remove(path);
  ASSERT_EQ(saved.size() % 320, 0u);
  EXPECT_GE(saved.size(), 19u * 320);
  const auto at = std::search(payloads.begin(), payloads.end(), saved.begin(), saved.end());
  ASSERT_NE(at, payloads.end());
  EXPECT_EQ((at - payloads.begin()) % 320, 0);
  EXPECT_LE(std::abs(static_cast<long>((at - payloads.begin()) / 320) - static_cast<long>(before)), 1);
}

TEST(CaptureEncodeExports, AacCapturesAtTheCoderTypesRateInLargerBuffers) {
  DiskAudio microphone(1, zp::test::Ramp(16000));
  Frames f;
  ZEPHPLAY_ACE* ace = nullptr;
  ASSERT_EQ(ZEPHPLAY_ACEOpen(&ace, 13, reinterpret_cast<uint64_t>(&f), &Frames::Take), 0);  // AAC, 16 kHz
  const bool enough = f.WaitForBuffers(4);
  ASSERT_EQ(ZEPHPLAY_ACEClose(ace), 0);
  ASSERT_TRUE(enough);
  for (const auto& frame : f.buffers) {
    ASSERT_GE(frame.size(), 12u + 7u);
    const uint8_t* adts = frame.data() + 12;
    EXPECT_EQ(adts[0], 0xFF);
    EXPECT_EQ(adts[1] & 0xF0, 0xF0);
    EXPECT_EQ((adts[2] >> 2) & 0x0F, 8);  // sampling index 8: 16000 Hz
  }
  EXPECT_EQ(ZEPHPLAY_OpenAudioCaptureAac(nullptr, 13, 0, nullptr), -1);
  ZEPHPLAY_AUDIOCAPTURE* capture = nullptr;
  EXPECT_EQ(ZEPHPLAY_OpenAudioCaptureAac(&capture, 17, 0, nullptr), -1);  // G.711 is not AAC
}

TEST(CaptureEncodeExports, ClosingWhileDeliveringNeverHangsAndInsideTheCallbackIsRefused) {
  DiskAudio microphone(1, zp::test::Ramp(64000));
  for (int i = 0; i < 5; ++i) {
    Frames f;
    ZEPHPLAY_ACE* ace = nullptr;
    ASSERT_EQ(ZEPHPLAY_ACEOpen(&ace, 17, reinterpret_cast<uint64_t>(&f), &Frames::Take), 0);
    ZEPHPLAY_ACEStartSaveToFile(ace);
    std::this_thread::sleep_for(std::chrono::milliseconds(i * 3));
    char path[260];
    ZEPHPLAY_ACEGetSavePath(ace, path);
    ASSERT_EQ(ZEPHPLAY_ACEClose(ace), 0);
    std::remove(path);
  }
  Frames f;
  ZEPHPLAY_ACE* ace = nullptr;
  ASSERT_EQ(ZEPHPLAY_ACEOpen(&ace, 17, reinterpret_cast<uint64_t>(&f), &Frames::CloseInside), 0);
  f.self = ace;
  EXPECT_TRUE(zp::test::WaitUntil([&] { return f.closeResult != 1; }));
  f.self = nullptr;
  EXPECT_EQ(f.closeResult, -1);
  EXPECT_EQ(ZEPHPLAY_ACEClose(ace), 0);
  EXPECT_EQ(ZEPHPLAY_ACEClose(nullptr), -1);
  EXPECT_EQ(ZEPHPLAY_ACEOpen(nullptr, 17, 0, nullptr), -1);
}

}  // namespace
