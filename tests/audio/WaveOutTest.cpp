// The wave-out's cache rules on a clock of our own, and the wave-out itself on SDL's disk
// driver: the pull path of the audio file player and Stop against a refill under way.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include "DiskAudio.h"
#include "audio/CADEC.h"
#include "audio/CAudioCacheControl.h"
#include "audio/CWaveOut.h"
#include "common/CAutoLock.h"

namespace zp::test {
namespace {

class CacheControlTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(queue_.Init(200, 100000), 1); }

  // n frames stamped firstMs, firstMs + stepMs, ...
  void Queue(int n, uint64_t firstMs, uint64_t stepMs) {
    queue_.Reset();
    const uint8_t payload[8] = {};
    for (int i = 0; i < n; ++i) {
      const QueueFrameHead head{1, sizeof payload, (firstMs + static_cast<uint64_t>(i) * stepMs) * 1000};
      ASSERT_EQ(queue_.WriteFrame(head, payload), 1);
    }
  }
  // A check 500 ms after the last one.
  bool Check(uint32_t framesPerSecond, uint64_t stampMs = 0) {
    now_ += CAudioCacheControl::kCheckIntervalMs;
    return control_.Check(&queue_, framesPerSecond, stampMs * 1000);
  }
  uint64_t HeadStampMs() {
    uint64_t stamp = 0;
    queue_.PeekStamp(&stamp);
    return stamp / 1000;
  }

  uint32_t now_ = 1000;
  CAudioCacheControl control_{[this] { return now_; }};
  CFrameQueue queue_;
};

TEST_F(CacheControlTest, ChecksAtMostEvery500MsAcrossTheTickWrap) {
  Queue(1, 0, 20);
  EXPECT_TRUE(control_.Check(&queue_, 50, 0));
  now_ += 499;
  EXPECT_FALSE(control_.Check(&queue_, 50, 0));
  now_ += 1;
  EXPECT_TRUE(control_.Check(&queue_, 50, 0));
  now_ = 0xFFFFFF00u;
  EXPECT_TRUE(control_.Check(&queue_, 50, 0));
  now_ += 499;  // wrapped past zero
  EXPECT_FALSE(control_.Check(&queue_, 50, 0));
  now_ += 1;
  EXPECT_TRUE(control_.Check(&queue_, 50, 0));
}

// 1.5 seconds' worth of frames or more keeps a quarter second's worth, at the decoder's pace.
TEST_F(CacheControlTest, FrameCountRuleKeepsAQuarterSecond) {
  Queue(80, 0, 1);
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 12);
  EXPECT_EQ(HeadStampMs(), 68u) << "the newest stay";
  Queue(74, 0, 1);
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 74);
  Queue(37, 0, 1);
  Check(25);
  EXPECT_EQ(queue_.GetFrameNum(), 6);
}

// With an audio delay, a span above it keeps a quarter second; the 1500 ms default is then off.
TEST_F(CacheControlTest, AudioDelayRuleReplacesTheDefaultSpan) {
  control_.SetMaxCacheMinSecond(300);
  Queue(16, 0, 20);  // spans 300 ms
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 16);
  Queue(17, 0, 20);  // 320 ms
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 12);
  control_.SetMaxCacheMinSecond(3000);
  Queue(41, 0, 50);  // 2000 ms: over the default, under the delay
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 41);
}

// Without delay or reference time, a span of 1500 ms or more keeps 10 frames.
TEST_F(CacheControlTest, DefaultSpanRuleKeepsTenFrames) {
  Queue(41, 0, 40);  // 1600 ms
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 10);
  Queue(31, 0, 50);  // 1500 ms
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 10);
  Queue(31, 0, 49);  // 1470 ms
  Check(50);
  EXPECT_EQ(queue_.GetFrameNum(), 31);
  control_.SetReferenceTime(100000000);
  Queue(41, 0, 40);
  Check(50, 100000);
  EXPECT_EQ(queue_.GetFrameNum(), 41) << "a reference time turns the span rule off";
}

// A decoded frame lagging the reference time by 800 ms (2500 ms with long clear) clears the
// queue up to the reference time (and the first frame after it).
TEST_F(CacheControlTest, LagBehindTheReferenceClearsUpToIt) {
  control_.SetReferenceTime(10000 * 1000);
  Queue(16, 9000, 100);  // 9.0 s to 10.5 s
  Check(50, 9201);
  EXPECT_EQ(queue_.GetFrameNum(), 16) << "799 ms behind";
  Check(50, 0);
  EXPECT_EQ(queue_.GetFrameNum(), 16) << "no frame decoded yet";
  Check(50, 10100);
  EXPECT_EQ(queue_.GetFrameNum(), 16) << "ahead of the reference";
  Check(50, 9200);
  EXPECT_EQ(queue_.GetFrameNum(), 4);
  EXPECT_EQ(HeadStampMs(), 10200u);

  control_.SetLongClear(true);
  Queue(16, 9000, 100);
  Check(50, 7501);
  EXPECT_EQ(queue_.GetFrameNum(), 16) << "2499 ms behind with long clear";
  Check(50, 7500);
  EXPECT_EQ(queue_.GetFrameNum(), 4);
}

// --- the wave-out on the disk driver ---

constexpr uint32_t kPcmBufferSamples = 2560;  // the PCM decoder's 5120-byte output
constexpr int kFrameSamples = 150;            // 300 bytes: 17 frames and 20 bytes fill a buffer

struct PullSource {
  int next = 0;
  int frames = 0;
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

struct PcmLog {
  std::vector<int16_t> samples;
  std::vector<uint64_t> stamps;
  uint32_t rate = 0;
};

void CollectPcm(const int16_t* pcm, uint32_t samples, uint32_t, uint32_t, uint32_t rate, uint64_t stamp,
                uint64_t user) {
  auto* log = reinterpret_cast<PcmLog*>(user);
  log->samples.insert(log->samples.end(), pcm, pcm + samples);
  log->stamps.push_back(stamp);
  log->rate = rate;
}

// Without a frame buffer the wave-out pulls frames until its buffer is full; the frame that
// reaches past the end is played up to the end (the rest is cut off), and the next refill
// goes on with the next frame. No cache rule runs. Every lock handed over is left again, and
// the decoder's PCM callback sees what is played, after the gain.
TEST(WaveOut, PullPathFillsEachBufferAndLeavesTheHandedLocks) {
  DiskAudio disk;
  std::unique_ptr<CADEC> decoder(CADEC::S_InitAudioDecoder(20, 0));
  ASSERT_EQ(decoder->InitDecoder(1), 1);
  PcmLog pcmLog;
  decoder->SetPcmCallback(&CollectPcm, reinterpret_cast<uint64_t>(&pcmLog));
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
  }
  ASSERT_GE(played.size(), 6 * kPcmBufferSamples);

  std::vector<int16_t> expected;
  for (int id = 0; id < 40; ++id) {
    const auto frame = Same(kFrameSamples, static_cast<int16_t>(2 * FrameValue(id)));
    expected.insert(expected.end(), frame.begin(), frame.end());
    if (expected.size() % kPcmBufferSamples < kFrameSamples && expected.size() % kPcmBufferSamples != 0) {
      expected.resize(expected.size() - expected.size() % kPcmBufferSamples);  // cut at the buffer end
    }
  }
  const std::vector<int16_t> seenByCallback = expected;
  expected.resize(4 * kPcmBufferSamples, 0);
  EXPECT_EQ(Slice(played, 0, 2 * kPcmBufferSamples), Same(2 * kPcmBufferSamples, kStartFillSample));
  EXPECT_EQ(Slice(played, 2 * kPcmBufferSamples, 4 * kPcmBufferSamples), expected);

  EXPECT_EQ(source.handedOver.load(), 40);
  std::atomic<bool> free{false};
  std::thread([&source, &free] {
    CAutoLock lock(&source.lock);
    free = true;
  }).join();
  EXPECT_TRUE(free);
  EXPECT_EQ(pcmLog.samples, seenByCallback);
  ASSERT_EQ(pcmLog.stamps.size(), 40u);
  EXPECT_EQ(pcmLog.stamps[39], 39u * 18750);
  EXPECT_EQ(pcmLog.rate, 8000u);
}

struct SlowRefill {
  std::atomic<int> entered{0};
  std::atomic<int> left{0};
};

void SlowPcm(const int16_t*, uint32_t, uint32_t, uint32_t, uint32_t, uint64_t, uint64_t user) {
  auto* slow = reinterpret_cast<SlowRefill*>(user);
  if (++slow->entered == 1) {
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
  }
  ++slow->left;
}

// Stop called while a refill is decoding returns only after that refill has ended, and no
// refill starts after it.
TEST(WaveOut, StopWaitsForTheRefillUnderWay) {
  DiskAudio disk(1);
  std::unique_ptr<CADEC> decoder(CADEC::S_InitAudioDecoder(20, 0));
  ASSERT_EQ(decoder->InitDecoder(1), 1);
  SlowRefill slow;
  decoder->SetPcmCallback(&SlowPcm, reinterpret_cast<uint64_t>(&slow));
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
  while (slow.entered == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  waveOut.Stop();
  const int entered = slow.entered;
  EXPECT_EQ(slow.left.load(), entered) << "Stop returned with a refill still running";
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_EQ(slow.entered.load(), entered) << "a refill ran after Stop";
  EXPECT_EQ(waveOut.State(), CWaveOut::kStateClosed);
}

}  // namespace
}  // namespace zp::test
