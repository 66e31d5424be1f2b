#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "AvReference.h"
#include "SampleEncoder.h"

namespace zp::samples {
namespace {

double Rms(const int16_t* p, size_t n) {
  double s = 0;
  for (size_t i = 0; i < n; ++i) {
    s += static_cast<double>(p[i]) * p[i];
  }
  return std::sqrt(s / static_cast<double>(n));
}

void ExpectStamps(const std::vector<EncodedFrame>& frames, uint64_t perFrameSamples, int rate) {
  for (size_t i = 0; i < frames.size(); ++i) {
    EXPECT_EQ(frames[i].stampUs, i * perFrameSamples * 1000000u / static_cast<uint64_t>(rate)) << "frame " << i;
  }
}

// G.711 is a per-sample code: libavcodec's decoder must give back the synthetic sound within the
// code's step size (1/16 of the value, at least 16 near zero). The HiSilicon unit wraps the same
// bytes behind "00 01 LL 00", LL the payload in 16-bit words.
TEST(EncodeAudio, G711RoundTripsThroughAnOutsideDecoderAndHisiUnitsWrapIt) {
  struct Case {
    AudioCodec plain, hisi;
    const char* decoder;
  };
  for (const Case& c : {Case{AudioCodec::G711A, AudioCodec::HisiG711A, "pcm_alaw"},
                        Case{AudioCodec::G711U, AudioCodec::HisiG711U, "pcm_mulaw"}}) {
    AudioParams p{c.plain, 8000, 1, 10, 320};
    const std::vector<EncodedFrame> frames = EncodeAudio(p);
    ASSERT_EQ(frames.size(), 10u);
    ExpectStamps(frames, 320, 8000);
    std::vector<int16_t> source;
    MakeSound(0, 3200, 8000, 1, &source);
    const std::vector<int16_t> sound = test::AvDecodeAll(c.decoder, frames);
    ASSERT_EQ(sound.size(), source.size());
    for (size_t i = 0; i < source.size(); ++i) {
      ASSERT_LE(std::abs(sound[i] - source[i]), std::max(16, std::abs(source[i]) / 16)) << "sample " << i;
    }

    p.codec = c.hisi;
    const std::vector<EncodedFrame> units = EncodeAudio(p);
    ASSERT_EQ(units.size(), frames.size());
    for (size_t i = 0; i < units.size(); ++i) {
      std::vector<uint8_t> want{0, 1, 160, 0};
      want.insert(want.end(), frames[i].data.begin(), frames[i].data.end());
      EXPECT_EQ(units[i].data, want);
      EXPECT_EQ(units[i].stampUs, frames[i].stampUs);
    }
  }
}

// The two channels differ, so that a swap or a mix-down shows.
TEST(EncodeAudio, PcmIsTheSoundLittleEndian) {
  const std::vector<EncodedFrame> frames = EncodeAudio(AudioParams{AudioCodec::Pcm16, 16000, 2, 3, 320});
  ASSERT_EQ(frames.size(), 3u);
  ExpectStamps(frames, 320, 16000);
  std::vector<int16_t> source;
  MakeSound(0, 960, 16000, 2, &source);
  EXPECT_NE(source[100], source[101]);
  std::vector<int16_t> got;
  for (const EncodedFrame& f : frames) {
    ASSERT_EQ(f.data.size(), 320u * 2 * 2);
    for (size_t i = 0; i < f.data.size(); i += 2) {
      got.push_back(static_cast<int16_t>(f.data[i] | (f.data[i + 1] << 8)));
    }
  }
  EXPECT_EQ(got, source);
}

// Each AAC frame is one whole ADTS frame whose header gives its own length (what a parser cuts
// by); libavcodec reads the rate and channels from it and decodes 1024 samples a frame with the
// loudness of the source.
TEST(EncodeAudio, AacFramesAreWholeAdtsFrames) {
  for (const auto& [rate, channels] : {std::pair{8000, 1}, std::pair{44100, 2}}) {
    const std::vector<EncodedFrame> frames = EncodeAudio(AudioParams{AudioCodec::AacAdts, rate, channels, 20});
    ASSERT_EQ(frames.size(), 20u) << rate;
    ExpectStamps(frames, 1024, rate);
    for (const EncodedFrame& f : frames) {
      const std::vector<uint8_t>& h = f.data;
      ASSERT_GT(h.size(), 7u);
      EXPECT_EQ(static_cast<size_t>(((h[3] & 3) << 11) | (h[4] << 3) | (h[5] >> 5)), h.size());
    }
    test::AvDecoder decoder("aac");
    std::vector<int16_t> sound;
    for (const EncodedFrame& f : frames) {
      ASSERT_TRUE(decoder.Decode(f.data.data(), f.data.size(), &sound));
    }
    EXPECT_EQ(decoder.channels(), channels);
    EXPECT_EQ(decoder.sampleRate(), rate);
    ASSERT_EQ(sound.size(), 20u * 1024 * static_cast<size_t>(channels));
    std::vector<int16_t> source;
    MakeSound(0, 20 * 1024, rate, channels, &source);
    // Past the encoder's start-up delay, the decoded loudness matches the source's.
    const size_t from = 4u * 1024 * static_cast<size_t>(channels);
    const double want = Rms(source.data() + from, source.size() - from);
    EXPECT_NEAR(Rms(sound.data() + from, sound.size() - from), want, want * 0.15) << rate;
  }
}

}  // namespace
}  // namespace zp::samples
