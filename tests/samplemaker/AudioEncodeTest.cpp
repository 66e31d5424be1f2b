#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numeric>
#include <tuple>

#include "AvReference.h"
#include "SampleEncoder.h"

namespace zp::samples {
namespace {

// G.711 is a per-sample code: libavcodec's decoder must give back the synthetic sound within the
// code's step size (1/16 of the value, at least 16 near zero); PCM comes back exactly, read as
// little-endian, its two channels different so that a swap or a mix-down shows. The HiSilicon
// unit wraps the G.711 bytes behind "00 01 LL 00", LL the payload in 16-bit words.
TEST(EncodeAudio, G711AndPcmRoundTripThroughAnOutsideDecoderAndHisiUnitsWrapG711) {
  for (const auto& [plain, hisi, decoder, rate, channels] :
       {std::tuple{AudioCodec::G711A, AudioCodec::HisiG711A, "pcm_alaw", 8000, 1},
        {AudioCodec::G711U, AudioCodec::HisiG711U, "pcm_mulaw", 8000, 1},
        {AudioCodec::Pcm16, AudioCodec::Pcm16, "pcm_s16le", 16000, 2}}) {
    SCOPED_TRACE(decoder);
    const bool pcm = plain == AudioCodec::Pcm16;
    AudioParams p{plain, rate, channels, 10, 320};
    const std::vector<EncodedFrame> frames = EncodeAudio(p);
    ASSERT_EQ(frames.size(), 10u);
    for (size_t i = 0; i < frames.size(); ++i) {
      EXPECT_EQ(frames[i].stampUs, i * 320 * 1000000u / static_cast<uint64_t>(rate)) << "frame " << i;
      EXPECT_EQ(frames[i].data.size(), 320u * channels * (pcm ? 2 : 1)) << "frame " << i;
    }
    std::vector<int16_t> source;
    MakeSound(0, 3200, rate, channels, &source);
    EXPECT_TRUE(channels == 1 || source[100] != source[101]) << "the channels are the same";
    const std::vector<int16_t> sound = test::AvDecodeAll(decoder, frames, {rate, channels});
    ASSERT_EQ(sound.size(), source.size());
    for (size_t i = 0; i < source.size(); ++i) {
      ASSERT_LE(std::abs(sound[i] - source[i]), pcm ? 0 : std::max(16, std::abs(source[i]) / 16)) << "sample " << i;
    }
    if (pcm) {
      continue;
    }

    p.codec = hisi;
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

// Each AAC frame is one whole ADTS frame whose header gives its own length (what a parser cuts
// by); libavcodec reads the rate and channels from it and decodes 1024 samples a frame with the
// loudness of the source.
TEST(EncodeAudio, AacFramesAreWholeAdtsFrames) {
  for (const auto& [rate, channels] : {std::pair{8000, 1}, std::pair{44100, 2}}) {
    const std::vector<EncodedFrame> frames = EncodeAudio(AudioParams{AudioCodec::AacAdts, rate, channels, 20});
    ASSERT_EQ(frames.size(), 20u) << rate;
    test::AvDecoder decoder("aac");
    std::vector<int16_t> sound;
    for (size_t i = 0; i < frames.size(); ++i) {
      const std::vector<uint8_t>& h = frames[i].data;
      EXPECT_EQ(frames[i].stampUs, i * 1024 * 1000000u / static_cast<uint64_t>(rate)) << "frame " << i;
      ASSERT_GT(h.size(), 7u);
      EXPECT_EQ(static_cast<size_t>(((h[3] & 3) << 11) | (h[4] << 3) | (h[5] >> 5)), h.size());
      ASSERT_TRUE(decoder.Decode(h.data(), h.size(), &sound));
    }
    EXPECT_EQ(decoder.channels(), channels);
    EXPECT_EQ(decoder.sampleRate(), rate);
    ASSERT_EQ(sound.size(), 20u * 1024 * static_cast<size_t>(channels));
    std::vector<int16_t> source;
    MakeSound(0, 20 * 1024, rate, channels, &source);
    // Past the encoder's start-up delay, the decoded loudness matches the source's.
    const size_t from = 4u * 1024 * static_cast<size_t>(channels);
    const auto rms = [from](const std::vector<int16_t>& v) {
      return std::sqrt(std::inner_product(v.begin() + from, v.end(), v.begin() + from, 0.0) / (v.size() - from));
    };
    EXPECT_NEAR(rms(sound), rms(source), rms(source) * 0.15) << rate;
  }
}

}  // namespace
}  // namespace zp::samples
