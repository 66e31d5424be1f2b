// Microphone capture through the C API, with SDL's disk driver reading a raw file as the
// microphone: what the callback receives is compared with the file.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "Delivered.h"
#include "zephplay.h"

namespace {

using zp::test::Bytes;
using zp::test::DiskAudio;

using Received = zp::test::Delivered<ZEPHPLAY_AUDIOCAPTURE, &ZEPHPLAY_CloseAudioCapture>;

TEST(CaptureExports, TheCallbackGetsTheMicrophonesSamplesInWholeBuffers) {
  const struct {
    const char* name;
    uint32_t rate;
    uint16_t channels;
    uint32_t buffer;  // 0: the plain forms, else ZEPHPLAY_OpenAudioCapturePCM with this size
  } cases[] = {{"8 kHz", 8000, 1, 0}, {"16 kHz", 16000, 1, 0}, {"PCM stereo", 11025, 2, 882}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<uint8_t> ramp = zp::test::Ramp(8000);
    DiskAudio microphone(1, ramp);
    ZEPHPLAY_SetUseSpeex(0);
    Received r;
    ZEPHPLAY_AUDIOCAPTURE* capture = nullptr;
    const uint64_t user = reinterpret_cast<uint64_t>(&r);
    const ZEPHPLAY_WAVEFORMAT format{1, c.channels, c.rate, c.rate * 2u * c.channels, uint16_t(2 * c.channels), 16, 0};
    ASSERT_EQ(c.buffer != 0   ? ZEPHPLAY_OpenAudioCapturePCM(&capture, &format, c.buffer, user, &Received::Take)
              : c.rate == 8000 ? ZEPHPLAY_OpenAudioCapture(&capture, user, &Received::Take)
                               : ZEPHPLAY_OpenAudioCaptureEx(&capture, c.rate, user, &Received::Take),
              0);
    const bool enough = r.WaitForBytes(ramp.size());
    ASSERT_EQ(ZEPHPLAY_CloseAudioCapture(capture), 0);
    ASSERT_TRUE(enough);
    for (const auto& buffer : r.buffers) {
      ASSERT_EQ(buffer.size(), c.buffer == 0 ? 320 : c.buffer);
    }
    const std::vector<uint8_t> got = r.Joined();
    EXPECT_TRUE(std::equal(ramp.begin(), ramp.end(), got.begin()));
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(r.Joined().size(), got.size()) << "delivered after close";
  }
}

// A tone that comes and goes (250 ms each) over steady noise, as speech does: the suppressor
// learns the noise in the gaps, so a steady tone would count as noise.
bool ToneOn(size_t i) { return (i / 2000) % 2 == 0; }

// Mean power in dB of the middle of the gaps (tone false) or of the bursts (tone true).
double PowerDb(const std::vector<int16_t>& s, bool tone) {
  double energy = 0;
  size_t count = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    const size_t phase = i % 2000;
    if (ToneOn(i) == tone && phase > 400 && phase < 1600) {
      energy += double(s[i]) * s[i];
      ++count;
    }
  }
  return 10 * std::log10(energy / double(count));
}

TEST(CaptureExports, NoiseSuppressionQuietensTheGapsAndKeepsTheTone) {
  std::vector<int16_t> noisy(4 * 8000);
  std::mt19937 random(7);
  std::normal_distribution<double> noise(0.0, 1000.0);
  for (size_t i = 0; i < noisy.size(); ++i) {
    const double tone = ToneOn(i) ? 6000 * std::sin(2 * M_PI * 440 * i / 8000.0) : 0;
    noisy[i] = static_cast<int16_t>(std::lround(tone + noise(random)));
  }
  double gap[2], burst[2];
  for (int speex : {0, 1}) {
    DiskAudio microphone(1, Bytes(noisy));
    ZEPHPLAY_SetUseSpeex(speex);
    Received r;
    ZEPHPLAY_AUDIOCAPTURE* capture = nullptr;
    ASSERT_EQ(ZEPHPLAY_OpenAudioCapture(&capture, reinterpret_cast<uint64_t>(&r), &Received::Take), 0);
    const bool enough = r.WaitForBytes(noisy.size() * 2);
    ASSERT_EQ(ZEPHPLAY_CloseAudioCapture(capture), 0);
    ASSERT_TRUE(enough);
    // The last two seconds, once the suppressor has learnt the noise.
    const std::vector<uint8_t> joined = r.Joined();
    std::vector<int16_t> late(2 * 8000);
    std::memcpy(late.data(), joined.data() + late.size() * 2, late.size() * 2);
    gap[speex] = PowerDb(late, false);
    burst[speex] = PowerDb(late, true);
  }
  ZEPHPLAY_SetUseSpeex(0);
  EXPECT_GT(gap[0] - gap[1], 8.0);
  EXPECT_LT(std::fabs(burst[0] - burst[1]), 2.0);
}

TEST(CaptureExports, RefusalsAndTheEchoCancellerThatNeverOpens) {
  DiskAudio microphone(1, std::vector<uint8_t>(32000, 1));
  ZEPHPLAY_AUDIOCAPTURE* capture = nullptr;
  EXPECT_EQ(ZEPHPLAY_OpenAudioCapture(nullptr, 0, &Received::Take), -1);
  EXPECT_EQ(ZEPHPLAY_OpenAudioCapturePCM(&capture, nullptr, 320, 0, &Received::Take), -1);
  const ZEPHPLAY_WAVEFORMAT floats{3, 1, 8000, 32000, 4, 32, 0};
  EXPECT_EQ(ZEPHPLAY_OpenAudioCapturePCM(&capture, &floats, 320, 0, &Received::Take), -1);
  const ZEPHPLAY_WAVEFORMAT pcm{1, 1, 8000, 16000, 2, 16, 0};
  EXPECT_EQ(ZEPHPLAY_OpenAudioCapturePCM(&capture, &pcm, 0, 0, &Received::Take), -1);
  EXPECT_EQ(capture, nullptr);
  EXPECT_EQ(ZEPHPLAY_CloseAudioCapture(nullptr), -1);

  ZEPHPLAY_ECHO* echo = nullptr;
  ZEPHPLAY_SetAecParam(1, 109);
  EXPECT_EQ(ZEPHPLAY_OpenEchoCancellation(&echo, nullptr, nullptr), 1);
  EXPECT_EQ(echo, nullptr);
  EXPECT_EQ(ZEPHPLAY_CloseEchoCancellation(nullptr), 1);
  ZEPHPLAY_SetAecParam(0, 109);

  // Closing from inside the callback would wait for the callback itself: refused.
  Received r;
  ASSERT_EQ(ZEPHPLAY_OpenAudioCapture(&capture, reinterpret_cast<uint64_t>(&r), &Received::CloseInside), 0);
  r.self = capture;
  EXPECT_TRUE(zp::test::WaitUntil([&] { return r.closeResult != 1; }));
  r.self = nullptr;
  EXPECT_EQ(r.closeResult, -1);
  EXPECT_EQ(ZEPHPLAY_CloseAudioCapture(capture), 0);
}

}  // namespace
