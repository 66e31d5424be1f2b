// The wave-out's cache rules on a clock of our own, and the wave-out itself on SDL's disk
// driver: the pull path of the audio file player and Stop against a refill under way.
#include <SDL2/SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "DiskAudio.h"
#include "audio/CADEC.h"
#include "audio/CAudioCacheControl.h"
#include "audio/CWaveOut.h"
#include "common/LockProbe.h"
#include "support/Deadline.h"

namespace zp::test {
namespace {

TEST(CacheControl, ChecksAtMostEvery500MsAcrossTheTickWrap) {
  uint32_t now = 1000;
  CAudioCacheControl control([&now] { return now; });
  CFrameQueue queue;
  ASSERT_EQ(queue.Init(10, 1000), 1);
  for (const uint32_t start : {1000u, 0xFFFFFF00u}) {  // the second one wraps past zero
    now = start;
    EXPECT_TRUE(control.Check(&queue, 50, 0));
    now += 499;
    EXPECT_FALSE(control.Check(&queue, 50, 0));
    now += 1;
    EXPECT_TRUE(control.Check(&queue, 50, 0));
  }
}

// Each rule at and beside its limit: frames left after one check.
TEST(CacheControl, RulesTrimAtTheirLimits) {
  const struct {
    const char* what;
    uint32_t delayMs;
    uint64_t referenceMs;
    bool longClear;
    int frames;
    uint64_t stepMs;
    uint32_t framesPerSecond;
    uint64_t stampMs;  // of the frame decoded last
    int left;
  } cases[] = {
      {"1.5 s worth at 50/s", 0, 0, false, 75, 1, 50, 0, 12},
      {"under 1.5 s worth", 0, 0, false, 74, 1, 50, 0, 74},
      {"1.5 s worth at 25/s", 0, 0, false, 37, 1, 25, 0, 6},
      {"span over the delay", 300, 0, false, 17, 20, 50, 0, 12},
      {"span at the delay", 300, 0, false, 16, 20, 50, 0, 16},
      {"a delay turns the default span off", 3000, 0, false, 41, 50, 50, 0, 41},
      {"default span 1500 ms", 0, 0, false, 31, 50, 50, 0, 10},
      {"default span 1470 ms", 0, 0, false, 31, 49, 50, 0, 31},
      {"a reference turns the default span off", 0, 100000, false, 41, 40, 50, 100000, 41},
      // 9.0 s to 10.5 s queued, reference 10 s: cleared up to it and one frame more.
      {"800 ms behind", 0, 10000, false, 16, 100, 50, 9200, 4},
      {"799 ms behind", 0, 10000, false, 16, 100, 50, 9201, 16},
      {"nothing decoded yet", 0, 10000, false, 16, 100, 50, 0, 16},
      {"ahead of the reference", 0, 10000, false, 16, 100, 50, 10100, 16},
      {"2500 ms behind, long clear", 0, 10000, true, 16, 100, 50, 7500, 4},
      {"2499 ms behind, long clear", 0, 10000, true, 16, 100, 50, 7501, 16},
  };
  CFrameQueue queue;
  ASSERT_EQ(queue.Init(200, 100000), 1);
  const uint8_t payload[8] = {};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CAudioCacheControl control([] { return 1000u; });
    control.SetMaxCacheMinSecond(c.delayMs);
    control.SetReferenceTime(c.referenceMs * 1000);
    control.SetLongClear(c.longClear);
    const uint64_t firstMs = c.referenceMs == 10000 ? 9000 : 0;
    queue.Reset();
    for (int i = 0; i < c.frames; ++i) {
      ASSERT_EQ(queue.WriteFrame(QueueFrameHead{1, sizeof payload, (firstMs + i * c.stepMs) * 1000}, payload), 1);
    }
    ASSERT_TRUE(control.Check(&queue, c.framesPerSecond, c.stampMs * 1000));
    EXPECT_EQ(queue.GetFrameNum(), c.left);
    uint64_t head = 0;
    ASSERT_EQ(queue.PeekStamp(&head), 1);
    EXPECT_EQ(head / 1000, firstMs + (c.frames - c.left) * c.stepMs) << "the newest stay";
  }
}

// --- the wave-out on the disk driver ---

constexpr uint32_t kPcmBufferSamples = 2560;  // the PCM decoder's 5120-byte output
constexpr int kFrameSamples = 150;            // 300 bytes: 17 frames and 20 bytes fill a buffer

struct PullSource {
  int next = 0, frames = 0;
  CMutexLock lock;
  std::atomic<int> handedOver{0};
};

int16_t FrameValue(int id) { return static_cast<int16_t>(100 + id * 10); }

int Pull(QueueFrameHead* head, uint8_t* data, uint32_t capacity, CMutexLock** frameLock, uint64_t user) {
  auto* source = reinterpret_cast<PullSource*>(user);
  if (source->next >= source->frames || capacity < kFrameSamples * 2) {
    return 0;
  }
  source->lock.Lock();  // handed over: the wave-out leaves it after decoding
  *frameLock = &source->lock;
  ++source->handedOver;
  const std::vector<int16_t> pcm(kFrameSamples, FrameValue(source->next));
  std::memcpy(data, pcm.data(), pcm.size() * 2);
  *head = QueueFrameHead{1, kFrameSamples * 2, static_cast<uint64_t>(source->next) * 18750};
  ++source->next;
  return 1;
}

struct PcmLog { std::vector<int16_t> samples; std::vector<uint64_t> stamps; uint32_t rate = 0; };

// Without a frame buffer the wave-out pulls frames until its buffer is full; the frame that
// reaches past the end is played up to the end (the rest is cut off), and the next refill
// goes on with the next frame. No cache rule runs. Every lock handed over is left again, and
// the decoder's PCM callback sees what is played, after the gain.
TEST(WaveOut, PullPathFillsEachBufferAndLeavesTheHandedLocks) {
  DiskAudio disk;
  std::unique_ptr<CADEC> decoder(CADEC::S_InitAudioDecoder(20, 0));
  ASSERT_EQ(decoder->InitDecoder(1), 1);
  PcmLog pcmLog;
  decoder->SetPcmCallback(
      [](const int16_t* pcm, uint32_t samples, uint32_t, uint32_t, uint32_t rate, uint64_t stamp, uint64_t user) {
        auto* log = reinterpret_cast<PcmLog*>(user);
        log->samples.insert(log->samples.end(), pcm, pcm + samples);
        log->stamps.push_back(stamp);
        log->rate = rate;
      },
      reinterpret_cast<uint64_t>(&pcmLog));
  PullSource source;
  source.frames = 40;
  std::vector<int16_t> played;
  {
    CWaveOut waveOut;
    waveOut.SetDecoder(decoder.get());
    waveOut.SetPullCallback(&Pull, reinterpret_cast<uint64_t>(&source));
    waveOut.SetGain(2.0);
    ASSERT_EQ(waveOut.Start(), 1);
    EXPECT_EQ(waveOut.Start(), 0) << "already playing";
    EXPECT_EQ(waveOut.SizeOut(), kPcmBufferSamples * 2);
    played = disk.WaitForSamples(6 * kPcmBufferSamples);
    waveOut.Stop();
    EXPECT_EQ(waveOut.State(), CWaveOut::kStateClosed);
    EXPECT_NE(SDL_WasInit(SDL_INIT_AUDIO), 0u) << "SDL audio is held until the wave-out goes";
  }
  EXPECT_EQ(SDL_WasInit(SDL_INIT_AUDIO), 0u);
  ASSERT_GE(played.size(), 6 * kPcmBufferSamples);

  std::vector<int16_t> expected;  // each frame with the gain, cut at the buffer's end
  for (int id = 0; id < 40; ++id) {
    const size_t room = kPcmBufferSamples - expected.size() % kPcmBufferSamples;
    expected.insert(expected.end(), std::min<size_t>(room, kFrameSamples), static_cast<int16_t>(2 * FrameValue(id)));
  }
  const std::vector<int16_t> seenByCallback = expected;
  expected.resize(4 * kPcmBufferSamples, 0);
  EXPECT_EQ(Slice(played, 0, 2 * kPcmBufferSamples), std::vector<int16_t>(2 * kPcmBufferSamples, kStartFillSample));
  EXPECT_EQ(Slice(played, 2 * kPcmBufferSamples, 4 * kPcmBufferSamples), expected);

  EXPECT_EQ(source.handedOver.load(), 40);
  ExpectAnotherThreadTakes(&source.lock, "WaveOut.PullPathFillsEachBufferAndLeavesTheHandedLocks");
  EXPECT_EQ(pcmLog.samples, seenByCallback);
  ASSERT_EQ(pcmLog.stamps.size(), 40u);
  EXPECT_EQ(pcmLog.stamps[39], 39u * 18750);
  EXPECT_EQ(pcmLog.rate, 8000u);
}

struct SlowRefill { std::atomic<int> entered{0}, left{0}; };

// Stop called while a refill is decoding returns only after that refill has ended, and no
// refill starts after it.
TEST(WaveOut, StopWaitsForTheRefillUnderWay) {
  DiskAudio disk(1);
  std::unique_ptr<CADEC> decoder(CADEC::S_InitAudioDecoder(20, 0));
  ASSERT_EQ(decoder->InitDecoder(1), 1);
  SlowRefill slow;
  decoder->SetPcmCallback(
      [](const int16_t*, uint32_t, uint32_t, uint32_t, uint32_t, uint64_t, uint64_t user) {
        auto* slow = reinterpret_cast<SlowRefill*>(user);
        if (++slow->entered == 1) {
          std::this_thread::sleep_for(std::chrono::milliseconds(150));
        }
        ++slow->left;
      },
      reinterpret_cast<uint64_t>(&slow));
  CFrameQueue frames;
  ASSERT_EQ(frames.Init(100, 64000), 1);
  const std::vector<uint8_t> payload(320, 0);
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(frames.WriteFrame(QueueFrameHead{1, 320, static_cast<uint64_t>(i) * 20000}, payload.data()), 1);
  }
  CWaveOut waveOut;
  waveOut.SetDecoder(decoder.get());
  waveOut.SetFrameBuffer(&frames);
  waveOut.SetSkipCacheControl(true);
  ASSERT_EQ(waveOut.Start(), 1);
  ASSERT_TRUE(WaitUntil([&] { return slow.entered > 0; }, std::chrono::seconds(10))) << "no refill within 10 s";
  waveOut.Stop();
  const int entered = slow.entered;
  EXPECT_EQ(slow.left.load(), entered) << "Stop returned with a refill still running";
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(slow.entered.load(), entered) << "a refill ran after Stop";
}

}  // namespace
}  // namespace zp::test
