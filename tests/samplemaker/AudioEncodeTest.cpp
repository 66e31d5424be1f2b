#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "AvDecode.h"
#include "SampleEncoder.h"

namespace zp::samples {
namespace {

using test::AvDecoder;
using test::DecodedSound;

DecodedSound DecodeAll(const std::vector<EncodedFrame>& frames, const char* decoder, int rate = 0, int channels = 0) {
  AvDecoder dec(decoder, rate, channels);
  DecodedSound out;
  EXPECT_TRUE(dec.ok());
  for (const EncodedFrame& f : frames) {
    if (dec.ok()) {
      EXPECT_TRUE(dec.Audio(f.data.data(), f.data.size(), &out));
    }
  }
  return out;
}

double Rms(const float* p, size_t n) {
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
// code's step size (1/16 of the value, at least 16 near zero), frame by frame, stamped by sample.
TEST(EncodeAudio, G711RoundTripsThroughAnOutsideDecoder) {
  for (const auto& [codec, decoder] :
       {std::pair{AudioCodec::G711A, "pcm_alaw"}, std::pair{AudioCodec::G711U, "pcm_mulaw"}}) {
    AudioParams p;
    p.codec = codec;
    p.frames = 10;
    const std::vector<EncodedFrame> frames = EncodeAudio(p);
    ASSERT_EQ(frames.size(), 10u);
    ExpectStamps(frames, 160, 8000);
    std::vector<int16_t> source;
    MakeSound(0, 1600, 8000, 1, &source);
    for (const EncodedFrame& f : frames) {
      EXPECT_EQ(f.data.size(), 160u);
    }
    const DecodedSound sound = DecodeAll(frames, decoder, 8000, 1);
    ASSERT_EQ(sound.samples.size(), source.size());
    for (size_t i = 0; i < source.size(); ++i) {
      const int got = static_cast<int>(std::lround(sound.samples[i] * 32768.0f));
      ASSERT_LE(std::abs(got - source[i]), std::max(16, std::abs(source[i]) / 16)) << "sample " << i;
    }
  }
}

// The HiSilicon unit is "00 01 LL 00" with LL the payload in 16-bit words, then the G.711 bytes.
TEST(EncodeAudio, HisiUnitsWrapTheG711Payload) {
  for (const auto& [hisi, plain] : {std::pair{AudioCodec::HisiG711A, AudioCodec::G711A},
                                    std::pair{AudioCodec::HisiG711U, AudioCodec::G711U}}) {
    for (int spf : {160, 320}) {
      AudioParams p;
      p.frames = 4;
      p.samplesPerFrame = spf;
      p.codec = plain;
      const std::vector<EncodedFrame> ref = EncodeAudio(p);
      p.codec = hisi;
      const std::vector<EncodedFrame> units = EncodeAudio(p);
      ASSERT_EQ(units.size(), 4u);
      ASSERT_EQ(ref.size(), 4u);
      ExpectStamps(units, static_cast<uint64_t>(spf), 8000);
      for (size_t i = 0; i < units.size(); ++i) {
        const std::vector<uint8_t>& u = units[i].data;
        ASSERT_EQ(u.size(), 4u + static_cast<size_t>(spf));
        EXPECT_EQ(std::vector<uint8_t>(u.begin(), u.begin() + 4), (std::vector<uint8_t>{0, 1, uint8_t(spf / 2), 0}));
        EXPECT_TRUE(std::equal(u.begin() + 4, u.end(), ref[i].data.begin(), ref[i].data.end()));
      }
    }
  }
  AudioParams stereo;
  stereo.codec = AudioCodec::HisiG711A;
  stereo.channels = 2;
  EXPECT_TRUE(EncodeAudio(stereo).empty());
  AudioParams odd;
  odd.codec = AudioCodec::HisiG711U;
  odd.samplesPerFrame = 161;
  EXPECT_TRUE(EncodeAudio(odd).empty());
}

// The sound's two channels differ, so that a swap or a mix-down shows.
TEST(EncodeAudio, PcmIsTheSoundLittleEndian) {
  AudioParams p;
  p.codec = AudioCodec::Pcm16;
  p.sampleRate = 16000;
  p.channels = 2;
  p.samplesPerFrame = 320;
  p.frames = 3;
  const std::vector<EncodedFrame> frames = EncodeAudio(p);
  ASSERT_EQ(frames.size(), 3u);
  ExpectStamps(frames, 320, 16000);
  std::vector<int16_t> source;
  MakeSound(0, 960, 16000, 2, &source);
  int differ = 0;
  for (size_t i = 0; i < source.size(); i += 2) {
    differ += source[i] != source[i + 1] ? 1 : 0;
  }
  EXPECT_GT(differ, 720);
  size_t at = 0;
  for (const EncodedFrame& f : frames) {
    ASSERT_EQ(f.data.size(), 320u * 2 * 2);
    for (size_t i = 0; i < f.data.size(); i += 2, ++at) {
      const auto v = static_cast<int16_t>(f.data[i] | (f.data[i + 1] << 8));
      ASSERT_EQ(v, source[at]);
    }
  }
}

// Each AAC frame is one whole ADTS frame whose header (read here bit by bit) gives its own length,
// the rate and the channels; libavcodec decodes the lot to 1024 samples a frame, and the sound has
// the loudness of the source.
TEST(EncodeAudio, AacFramesAreWholeAdtsFrames) {
  struct Rate {
    int rate;
    int channels;
  };
  for (const Rate r : {Rate{8000, 1}, Rate{16000, 1}, Rate{44100, 2}}) {
    AudioParams p;
    p.codec = AudioCodec::AacAdts;
    p.sampleRate = r.rate;
    p.channels = r.channels;
    p.frames = 20;
    const std::vector<EncodedFrame> frames = EncodeAudio(p);
    ASSERT_EQ(frames.size(), 20u) << r.rate;
    ExpectStamps(frames, 1024, r.rate);
    for (const EncodedFrame& f : frames) {
      const std::vector<uint8_t>& h = f.data;
      ASSERT_GT(h.size(), 7u);
      EXPECT_EQ(h[0], 0xFF);
      EXPECT_EQ(h[1] & 0xF6, 0xF0);  // sync, MPEG-4, layer 0
      EXPECT_EQ(h[1] & 1, 1);         // no CRC
      EXPECT_EQ(h[2] >> 6, 1);        // AAC LC; the rate and channels the decoder reads below
      const size_t length = static_cast<size_t>(((h[3] & 3) << 11) | (h[4] << 3) | (h[5] >> 5));
      EXPECT_EQ(length, h.size());
      EXPECT_EQ(h[6] & 3, 0);  // one raw data block
    }
    const DecodedSound sound = DecodeAll(frames, "aac");
    EXPECT_EQ(sound.frames, 20);
    EXPECT_EQ(sound.channels, r.channels);
    EXPECT_EQ(sound.sampleRate, r.rate);
    ASSERT_EQ(sound.samples.size(), 20u * 1024 * static_cast<size_t>(r.channels));
    std::vector<int16_t> source;
    MakeSound(0, 20 * 1024, r.rate, r.channels, &source);
    std::vector<float> ref(source.begin(), source.end());
    for (float& v : ref) {
      v /= 32768.0f;
    }
    // Past the encoder's start-up delay, the decoded loudness matches the source's.
    const size_t from = 4u * 1024 * static_cast<size_t>(r.channels);
    const double got = Rms(sound.samples.data() + from, sound.samples.size() - from);
    const double want = Rms(ref.data() + from, ref.size() - from);
    EXPECT_NEAR(got, want, want * 0.15) << r.rate;
  }
  AudioParams odd;
  odd.codec = AudioCodec::AacAdts;
  odd.sampleRate = 12345;
  EXPECT_TRUE(EncodeAudio(odd).empty());
}

}  // namespace
}  // namespace zp::samples
