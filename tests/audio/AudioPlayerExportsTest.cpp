// The audio player and decoder exports used as a client does (libzephplay.so and zephplay.h),
// with what the device played read back through SDL's disk audio driver and libavcodec's G.711
// decoder as the judge of the decoded sound.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "AvReference.h"
#include "ClientSupport.h"
#include "DiskAudio.h"
#include "zephplay.h"

namespace zp::test {
namespace {

constexpr uint16_t kCoderHisAlaw = 10;  // voice-engine units carrying G.711 A-law
constexpr uint16_t kCoderPcm8k = 20;
// Samples in one device buffer: the decoder's largest output (voice engine 1280 bytes, PCM
// 5120 bytes).
constexpr size_t kHisBuffer = 640;
constexpr size_t kPcmBuffer = 2560;

// PCM frames first..last, 160 samples each of a value that tells the frames apart when played.
std::vector<int16_t> PcmFrames(int first, int last) {
  std::vector<int16_t> all;
  for (int id = first; id <= last; ++id) {
    all.insert(all.end(), 160, static_cast<int16_t>((id + 1) * 10));
  }
  return all;
}

// What the device played: two start-fill buffers of `fill`, then each refill as given and
// silent to the end of its buffer.
void ExpectPlayed(const DiskAudio& disk, size_t buffer, const std::vector<std::vector<int16_t>>& refills,
                  int16_t fill = kStartFillSample) {
  const auto played = disk.WaitForSamples((3 + refills.size()) * buffer);
  ASSERT_GE(played.size(), (2 + refills.size()) * buffer);
  EXPECT_EQ(Slice(played, 0, 2 * buffer), std::vector<int16_t>(2 * buffer, fill)) << "the start fill";
  for (size_t i = 0; i < refills.size(); ++i) {
    auto expected = refills[i];
    expected.resize(buffer, 0);
    EXPECT_EQ(Slice(played, (2 + i) * buffer, buffer), expected) << "refill " << i;
  }
}

// A player whose device was opened and stopped again: frames queue up until Play() reopens
// it, so the first refill finds them all and what is played does not depend on timing.
class QueuedPlayer {
 public:
  using Step = std::function<void(ZEPHPLAY_AUDIOPLAYER*)>;
  // beforeHead runs before the first head, whileOpen while the first device is open.
  explicit QueuedPlayer(uint16_t coder, int64_t delayMs = -1, const Step& beforeHead = {},
                        const Step& whileOpen = {})
      : head_(Head(coder)) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(delayMs < 0 ? ZEPHPLAY_OpenAudioPlayer(&player_)
                          : ZEPHPLAY_OpenAudioPlayerEx(&player_, static_cast<uint32_t>(delayMs)),
              0);
    if (beforeHead) {
      beforeHead(player_);
    }
    EXPECT_EQ(ZEPHPLAY_InputAudioHead(player_, head_.data(), 512), 0);
    if (whileOpen) {
      whileOpen(player_);
    }
    EXPECT_EQ(ZEPHPLAY_PlayAudioSound(player_, 0), 0);
    // The first device may have run a cache check; the next one is due 500 ms later, and the
    // tests want it at the first refill of the reopened device.
    std::this_thread::sleep_until(begin + std::chrono::milliseconds(520));
  }
  ~QueuedPlayer() { EXPECT_EQ(ZEPHPLAY_CloseAudioPlayer(player_), 0); }
  QueuedPlayer(const QueuedPlayer&) = delete;
  QueuedPlayer& operator=(const QueuedPlayer&) = delete;

  ZEPHPLAY_AUDIOPLAYER* get() const { return player_; }
  void Play() { EXPECT_EQ(ZEPHPLAY_InputAudioHead(player_, head_.data(), 512), 0); }
  // One frame as a client sends it: payload length (32 bits), stamp (64 bits), payload.
  void Input(const std::vector<uint8_t>& payload, uint64_t stamp) {
    std::vector<uint8_t> frame(12);
    const auto length = static_cast<uint32_t>(payload.size());
    std::memcpy(frame.data(), &length, 4);
    std::memcpy(frame.data() + 4, &stamp, 8);
    frame.insert(frame.end(), payload.begin(), payload.end());
    ASSERT_EQ(ZEPHPLAY_InputAudioData(player_, frame.data(), static_cast<uint32_t>(frame.size()), 0), 0);
  }
  // PCM frames first..last, stamped 20 ms apart.
  void QueuePcm(int first, int last) {
    for (int id = first; id <= last; ++id) {
      Input(Bytes(PcmFrames(id, id)), 1000000 + static_cast<uint64_t>(id) * 20000);
    }
  }

 private:
  std::vector<uint8_t> head_;
  ZEPHPLAY_AUDIOPLAYER* player_ = nullptr;
};

TEST(AudioPlayerExports, NullAndMalformedArgumentsGiveTheirCodes) {
  DiskAudio disk;
  const auto head = Head(kCoderPcm8k);
  const uint8_t bytes[16] = {};
  // Every code is -1, and an AND of them stays -1 only when each one is.
  EXPECT_EQ(ZEPHPLAY_OpenAudioPlayer(nullptr) & ZEPHPLAY_OpenAudioPlayerEx(nullptr, 100) &
                ZEPHPLAY_InputAudioHead(nullptr, head.data(), 512) & ZEPHPLAY_InputAudioData(nullptr, bytes, 16, 0) &
                ZEPHPLAY_InputAudioFrame(nullptr, bytes, 16, 0) & ZEPHPLAY_CheckAudioData(nullptr, 16) &
                ZEPHPLAY_PlayAudioSound(nullptr, 1) & ZEPHPLAY_SetAudioVolume(nullptr, 50) &
                ZEPHPLAY_SetAudioPlayerGain(nullptr, 2.0) & ZEPHPLAY_SetAudioDelay(nullptr, 100) &
                ZEPHPLAY_SetNoDataEmptyCount(nullptr, 3) & ZEPHPLAY_SetPureAudioMode(nullptr) &
                ZEPHPLAY_SetAudioAcc1Chn(nullptr, 1) & ZEPHPLAY_ResetAudioPlayer(nullptr) &
                ZEPHPLAY_CloseAudioPlayer(nullptr),
            -1);

  ZEPHPLAY_AUDIOPLAYER* player = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenAudioPlayer(&player), 0);
  EXPECT_EQ(ZEPHPLAY_InputAudioData(player, bytes, 16, 0), -1) << "no head yet";
  EXPECT_EQ(ZEPHPLAY_InputAudioFrame(player, bytes, 16, 0), -1) << "no head yet";
  EXPECT_EQ(ZEPHPLAY_InputAudioHead(player, nullptr, 512), -1);
  EXPECT_EQ(ZEPHPLAY_InputAudioHead(player, head.data(), 11), -1);
  EXPECT_EQ(ZEPHPLAY_InputAudioHead(player, head.data(), 512), 0);
  EXPECT_EQ(ZEPHPLAY_InputAudioData(player, nullptr, 16, 0), -1);
  EXPECT_EQ(ZEPHPLAY_InputAudioData(player, bytes, 11, 0), -1) << "shorter than the frame head";
  EXPECT_EQ(ZEPHPLAY_InputAudioData(player, bytes, 12, 0), 0) << "an empty payload queues nothing";
  EXPECT_EQ(ZEPHPLAY_InputAudioFrame(player, nullptr, 0, 0), 0);
  EXPECT_EQ(ZEPHPLAY_SetAudioAcc1Chn(player, 1), 0);
  EXPECT_EQ(ZEPHPLAY_CheckAudioData(player, 64001), -3) << "more than the whole buffer";
  EXPECT_EQ(ZEPHPLAY_CheckAudioData(player, 640), 0);
  const auto unknown = Head(26);
  EXPECT_EQ(ZEPHPLAY_InputAudioHead(player, unknown.data(), 512), 0) << "a decoder that plays nothing";
  EXPECT_EQ(ZEPHPLAY_InputAudioData(player, bytes, 16, 0), 0);
  EXPECT_EQ(ZEPHPLAY_CloseAudioPlayer(player), 0);
}

// Voice-engine frames of two 200-sample A-law units each: the units are queued one by one, a
// device buffer (640 samples) takes three, the fourth does not fit what is left and is lost,
// and the rest of the buffer is silent. Everything played carries the gain, clipped.
TEST(AudioPlayerExports, PlaysTheDecodedUnitsWithTheGain) {
  DiskAudio disk;
  constexpr int kUnits = 10;
  constexpr size_t kUnitSamples = 200;
  constexpr double kGain = 3.0;
  AvDecoder oracle("pcm_alaw");
  ASSERT_TRUE(oracle.ok());
  std::vector<std::vector<uint8_t>> alaw;
  std::vector<std::vector<int16_t>> expected(kUnits);
  for (int u = 0; u < kUnits; ++u) {
    alaw.push_back(RandomBytes(kUnitSamples, 7 + u));
    std::vector<int16_t> pcm;
    ASSERT_TRUE(oracle.Decode(alaw[u].data(), alaw[u].size(), &pcm));
    ASSERT_EQ(pcm.size(), kUnitSamples);
    for (const int16_t s : pcm) {
      expected[u].push_back(static_cast<int16_t>(std::clamp(static_cast<int32_t>(s * kGain), -32768, 32767)));
    }
  }

  QueuedPlayer player(kCoderHisAlaw);
  ASSERT_EQ(ZEPHPLAY_SetAudioPlayerGain(player.get(), kGain), 0);
  for (int f = 0; f < kUnits / 2; ++f) {
    std::vector<uint8_t> payload;
    for (int u = 2 * f; u < 2 * f + 2; ++u) {
      payload.insert(payload.end(), {0x00, 0x01, kUnitSamples / 2, 0x00});
      payload.insert(payload.end(), alaw[u].begin(), alaw[u].end());
    }
    player.Input(payload, 20000u * f);
  }
  player.Play();
  ExpectPlayed(disk, kHisBuffer,
               {Cat({expected[0], expected[1], expected[2]}), Cat({expected[4], expected[5], expected[6]}),
                Cat({expected[8], expected[9]}), {}});
}

// What each refill plays of what was queued, the queued PCM frames being 20 ms each, 16 to a
// device buffer. The gain never attenuates (0.5 plays at unity) and stops at 25 (30 plays as 25,
// clipped); the volume scales both halves by percent x 65535 / 100 and is only taken by an open
// device. No-data count 3 keeps the old content behind the new sound for the refill that runs
// out and the next two, then silence (default 0: silence at once); the cache check after the
// first frame (its limits are the cache control's test); a full buffer (100 frames) refuses,
// then keeps the newest 50; pure audio grows the buffer, skips the cache rules and loses the
// 17th frame of a full refill.
TEST(AudioPlayerExports, RefillsPlayWhatTheLevelsAndTheQueueRulesLeave) {
  const std::vector<int16_t> levels = {1000, -1000, 2000, -2000, 123, -7, 0, 32767};
  const auto withGain = [&levels](double gain) {
    return [gain, bytes = Bytes(levels)](QueuedPlayer& p) {
      ASSERT_EQ(ZEPHPLAY_SetAudioPlayerGain(p.get(), gain), 0);
      ASSERT_EQ(ZEPHPLAY_InputAudioFrame(p.get(), bytes.data(), static_cast<uint32_t>(bytes.size()), 5), 0);
    };
  };
  const auto volume = [](uint16_t percent) -> QueuedPlayer::Step {
    return [percent](ZEPHPLAY_AUDIOPLAYER* p) { EXPECT_EQ(ZEPHPLAY_SetAudioVolume(p, percent), 0); };
  };
  const std::vector<int16_t> silence(kPcmBuffer, 0);
  auto withFill = PcmFrames(0, 0);
  withFill.resize(kPcmBuffer, kStartFillSample);
  std::vector<std::vector<int16_t>> pureRefills;
  for (int first = 0; first < 153; first += 17) {
    pureRefills.push_back(PcmFrames(first, std::min(first + 15, 159)));
  }
  const struct {
    const char* what;
    int64_t delayMs;
    std::function<void(QueuedPlayer&)> queue;
    std::vector<std::vector<int16_t>> refills;  // after the two start-fill buffers
    int16_t fill = kStartFillSample;
    QueuedPlayer::Step beforeHead = {}, whileOpen = {};
  } cases[] = {
      {"gain 0.5", -1, withGain(0.5), {levels}},
      {"gain 30", -1, withGain(30.0), {{25000, -25000, 32767, -32768, 3075, -175, 0, 32767}}},
      // Set while the first device is open, the volume stays with the reopened one.
      {"volume 50", -1, withGain(0.0), {{499, -499, 999, -999, 61, -3, 0, 16383}}, 12849, {}, volume(50)},
      {"volume before any device", -1, withGain(0.0), {levels}, kStartFillSample, volume(10)},
      {"no-data count 3", -1,
       [](QueuedPlayer& p) {
         ASSERT_EQ(ZEPHPLAY_SetNoDataEmptyCount(p.get(), 3), 0);
         p.QueuePcm(0, 0);
       },
       {withFill, std::vector<int16_t>(kPcmBuffer, kStartFillSample), withFill, silence, silence}},
      {"no-data count 0", -1, [](QueuedPlayer& p) { p.QueuePcm(0, 0); }, {PcmFrames(0, 0), silence, silence}},
      // 89 left >= 75 (1.5 s worth): a quarter second's worth, 12, stay.
      {"cache: frame count", -1, [](QueuedPlayer& p) { p.QueuePcm(0, 89); }, {Cat({PcmFrames(0, 0), PcmFrames(78, 89)})}},
      // Delay 200 ms, 29 left spanning 560 ms: 12 stay.
      {"cache: audio delay", 200, [](QueuedPlayer& p) { p.QueuePcm(0, 29); }, {Cat({PcmFrames(0, 0), PcmFrames(18, 29)})}},
      {"full buffer", -1,
       [](QueuedPlayer& p) {
         p.QueuePcm(0, 98);
         EXPECT_EQ(ZEPHPLAY_CheckAudioData(p.get(), 320), 0);
         p.QueuePcm(99, 99);
         EXPECT_EQ(ZEPHPLAY_CheckAudioData(p.get(), 320), -3) << "100 frames held";
         p.QueuePcm(100, 104);
       },
       {PcmFrames(50, 65)}},
      {"pure audio", -1,
       [](QueuedPlayer& p) {
         ASSERT_EQ(ZEPHPLAY_SetPureAudioMode(p.get()), 0);
         p.QueuePcm(0, 159);
       },
       pureRefills},
      // Dropped by the sound thread, which ends that refill; random payloads are the fuzzers' job.
      {"frame larger than the scratch", -1,
       [](QueuedPlayer& p) {
         p.Input(std::vector<uint8_t>(12000, 0x11), 980000);
         p.QueuePcm(0, 1);
       },
       {silence, PcmFrames(0, 1)}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    DiskAudio disk;
    QueuedPlayer player(kCoderPcm8k, c.delayMs, c.beforeHead, c.whileOpen);
    c.queue(player);
    player.Play();
    ExpectPlayed(disk, kPcmBuffer, c.refills, c.fill);
  }
}

}  // namespace
}  // namespace zp::test
