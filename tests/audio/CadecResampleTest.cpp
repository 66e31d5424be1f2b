// The decoders' sample-rate converter: what it keeps of the sound, and the counts it reports.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "CadecSupport.h"
#include "SampleEncoder.h"

namespace zp::test {
namespace {

// Power of one frequency in a block of samples (Goertzel), normalised by the block length.
double ToneLevel(const int16_t* x, size_t n, double frequency, double rate) {
  const double w = 2.0 * std::numbers::pi * frequency / rate;
  const double coeff = 2.0 * std::cos(w);
  double s1 = 0;
  double s2 = 0;
  for (size_t i = 0; i < n; ++i) {
    const double s0 = x[i] + coeff * s1 - s2;
    s2 = s1;
    s1 = s0;
  }
  const double power = s1 * s1 + s2 * s2 - coeff * s1 * s2;
  return std::sqrt(power) * 2.0 / static_cast<double>(n);  // the tone's amplitude
}

std::vector<int16_t> Tones(int samples, double rate, std::initializer_list<std::pair<double, double>> tones) {
  std::vector<int16_t> pcm(static_cast<size_t>(samples));
  for (int i = 0; i < samples; ++i) {
    double v = 0;
    for (const auto& [frequency, amplitude] : tones) {
      v += amplitude * std::sin(2.0 * std::numbers::pi * frequency * i / rate);
    }
    pcm[static_cast<size_t>(i)] = static_cast<int16_t>(std::lround(v));
  }
  return pcm;
}

TEST(CadecResample, HalvingKeepsTheToneAtItsLevelAndRemovesWhatCannotBeKept) {
  DecoderPtr d = MakeDecoder(21);
  ASSERT_NE(d, nullptr);
  d->SetResample(true, 1, 8000);
  d->InitResamples();
  ASSERT_TRUE(d->HasConverter());
  EXPECT_EQ(d->GetWaveFormat().nSamplesPerSec, 16000u) << "the decoder's own format stays";
  // 1 kHz stays; 6 kHz has no place at 8 kHz and would fold onto 2 kHz if not filtered out.
  const auto input = Tones(320 * 50, 16000, {{1000, 8000}, {6000, 8000}});
  std::vector<int16_t> output;
  for (size_t at = 0; at < input.size(); at += 320) {
    int16_t out[640];
    uint32_t bytes = 0;
    d->SamplerateTransform(out, &bytes, input.data() + at, 640, sizeof(out));
    EXPECT_LE(bytes, 400u);
    output.insert(output.end(), out, out + bytes / 2);
  }
  // The converter holds back a few samples at first and then keeps pace.
  EXPECT_NEAR(static_cast<double>(output.size()), input.size() / 2.0, 40.0);
  const size_t skip = 400;
  ASSERT_GT(output.size(), skip + 4000);
  const double kept = ToneLevel(output.data() + skip, 4000, 1000, 8000);
  const double folded = ToneLevel(output.data() + skip, 4000, 2000, 8000);
  EXPECT_NEAR(kept, 8000.0, 8000.0 * 0.05) << "samples pass by value, without scaling";
  EXPECT_LT(folded, 8000.0 * 0.03);
}

TEST(CadecResample, NeverWritesOrReportsMoreThanTheOutputHolds) {
  DecoderPtr d = MakeDecoder(20);  // 8000 Hz up to 48000: six times the samples
  ASSERT_NE(d, nullptr);
  d->SetResample(true, 1, 48000);
  d->InitResamples();
  ASSERT_TRUE(d->HasConverter());
  const auto input = Tones(1600, 8000, {{500, 10000}});
  std::vector<int16_t> out(2000, 0x7777);
  uint32_t bytes = 0;
  d->SamplerateTransform(out.data(), &bytes, input.data(), 3200, 1000 * 2);
  EXPECT_EQ(bytes, 1000u * 2);
  EXPECT_EQ(out[1000], 0x7777);
  EXPECT_NE(out[999], 0x7777);
}

// No converter where the rates already agree (the transform then leaves everything alone) or
// where the decoder has no rate; echo cancellation forces 16 kHz without enabling resampling.
TEST(CadecResample, ConverterOnlyWhereTheRatesDifferAndEchoCancellationForces16k) {
  DecoderPtr same = MakeDecoder(20);  // 8000 Hz, target 8000 by default
  ASSERT_NE(same, nullptr);
  same->SetResample(true, 1, 8000);
  same->InitResamples();
  EXPECT_FALSE(same->HasConverter());
  int16_t in[4] = {1, 2, 3, 4};
  int16_t out[4] = {9, 9, 9, 9};
  uint32_t bytes = 77;
  same->SamplerateTransform(out, &bytes, in, sizeof(in), sizeof(out));
  EXPECT_EQ(bytes, 77u);
  EXPECT_EQ(out[0], 9);

  DecoderPtr aac = MakeDecoder(25);
  ASSERT_NE(aac, nullptr);
  aac->InitAecResamples();
  EXPECT_EQ(aac->GetWaveFormat().nSamplesPerSec, 16000u);
  EXPECT_EQ(aac->GetWaveFormat().nAvgBytesPerSec, 16000u * 4);
  EXPECT_TRUE(aac->HasConverter());
  EXPECT_FALSE(aac->ResampleEnabled());

  DecoderPtr noRate = MakeDecoder(20);
  ASSERT_NE(noRate, nullptr);
  noRate->SetWaveFormat(1, 0, 16);
  noRate->InitAecResamples();
  EXPECT_EQ(noRate->GetWaveFormat().nSamplesPerSec, 0u);
  EXPECT_FALSE(noRate->HasConverter());
}

TEST(CadecResample, AacOutputIsConvertedWhenEnabled) {
  const auto frames = samples::EncodeAudio({samples::AudioCodec::AacAdts, 48000, 1, 20});
  ASSERT_EQ(frames.size(), 20u);
  DecoderPtr d = MakeDecoder(25);
  ASSERT_NE(d, nullptr);
  d->SetResample(true, 1, 8000);
  d->InitResamples();
  size_t total = 0;
  for (const auto& f : frames) {
    const auto pcm = DecodeUnit(d.get(), f.data);
    EXPECT_LT(pcm.size(), 400u);
    total += pcm.size();
  }
  // 2048 interleaved samples a frame from the second frame on, taken as one channel: a sixth
  // of them comes out.
  EXPECT_NEAR(static_cast<double>(total), 19 * 2048 / 6.0, 60.0);
}

}  // namespace
}  // namespace zp::test
