// Capture-and-encode through the C API on SDL's disk microphone: frames, saving and closing.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CaptureTestSupport.h"
#include "zephplay.h"

namespace {

using zp::test::DiskMicrophone;

struct Frames {
  std::mutex lock;
  std::vector<std::vector<uint8_t>> frames;
  std::atomic<ZEPHPLAY_ACE*> self{nullptr};
  std::atomic<int32_t> closeResult{1};

  static void ZEPHPLAY_CALL Take(const uint8_t* data, uint32_t len, uint64_t user) {
    auto* f = reinterpret_cast<Frames*>(user);
    std::lock_guard<std::mutex> hold(f->lock);
    f->frames.emplace_back(data, data + len);
  }
  static void ZEPHPLAY_CALL CloseInside(const uint8_t*, uint32_t, uint64_t user) {
    auto* f = reinterpret_cast<Frames*>(user);
    if (ZEPHPLAY_ACE* self = f->self.load()) {
      f->closeResult = ZEPHPLAY_ACEClose(self);
    }
  }
  size_t Count() {
    std::lock_guard<std::mutex> hold(lock);
    return frames.size();
  }
  bool Wait(size_t count) {
    return zp::test::WaitUntil([&] { return Count() >= count; });
  }
  // The payloads (after each 12-byte head) one after another.
  std::vector<uint8_t> Payloads() {
    std::lock_guard<std::mutex> hold(lock);
    std::vector<uint8_t> all;
    for (const auto& f : frames) {
      uint32_t length = 0;
      std::memcpy(&length, f.data(), 4);
      EXPECT_EQ(length + 12, f.size());
      all.insert(all.end(), f.begin() + 12, f.end());
    }
    return all;
  }
};

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(CaptureEncodeExports, PcmFramesCarryTheMicrophoneAndTheSaveFileHoldsWhatWasDelivered) {
  const std::vector<uint8_t> mic = zp::test::Ramp(16000);
  DiskMicrophone microphone(mic);
  Frames f;
  ZEPHPLAY_ACE* ace = nullptr;
  ASSERT_EQ(ZEPHPLAY_ACEOpen(&ace, 20, reinterpret_cast<uint64_t>(&f), &Frames::Take), 0);
  ASSERT_TRUE(f.Wait(5));
  ASSERT_EQ(ZEPHPLAY_ACEStartSaveToFile(ace), 0);
  char path[260];
  ASSERT_EQ(ZEPHPLAY_ACEGetSavePath(ace, path), 0);
  EXPECT_EQ(ZEPHPLAY_ACEStartSaveToFile(ace), 1);
  char again[260];
  ZEPHPLAY_ACEGetSavePath(ace, again);
  EXPECT_STREQ(path, again);
  EXPECT_NE(std::string(path).find("AudioFile"), std::string::npos);
  const size_t before = f.Count();
  ASSERT_TRUE(f.Wait(before + 20));
  EXPECT_EQ(ZEPHPLAY_ACEStopSaveToFile(ace), 1);
  uint32_t span = 0;
  EXPECT_EQ(ZEPHPLAY_ACEGetTime(ace, &span), 0);
  EXPECT_GT(span, 0u);
  ASSERT_TRUE(f.Wait(mic.size() / 320));
  ASSERT_EQ(ZEPHPLAY_ACEClose(ace), 0);

  const std::vector<uint8_t> payloads = f.Payloads();
  ASSERT_GE(payloads.size(), mic.size());
  EXPECT_TRUE(std::equal(mic.begin(), mic.end(), payloads.begin()));
  // The file is a run of whole delivered frames from about the start of saving.
  const std::vector<uint8_t> saved = ReadFile(path);
  std::remove(path);
  ASSERT_EQ(saved.size() % 320, 0u);
  EXPECT_GE(saved.size(), 19u * 320);
  const auto at = std::search(payloads.begin(), payloads.end(), saved.begin(), saved.end());
  ASSERT_NE(at, payloads.end());
  EXPECT_EQ((at - payloads.begin()) % 320, 0);
  EXPECT_LE(std::abs(static_cast<long>((at - payloads.begin()) / 320) - static_cast<long>(before)), 1);
}

TEST(CaptureEncodeExports, AacCapturesAtTheCoderTypesRateInLargerBuffers) {
  DiskMicrophone microphone(zp::test::Ramp(16000));
  Frames f;
  ZEPHPLAY_ACE* ace = nullptr;
  ASSERT_EQ(ZEPHPLAY_ACEOpen(&ace, 13, reinterpret_cast<uint64_t>(&f), &Frames::Take), 0);  // AAC, 16 kHz
  const bool enough = f.Wait(4);
  ASSERT_EQ(ZEPHPLAY_ACEClose(ace), 0);
  ASSERT_TRUE(enough);
  std::lock_guard<std::mutex> hold(f.lock);
  for (const auto& frame : f.frames) {
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
  DiskMicrophone microphone(zp::test::Ramp(64000));
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
