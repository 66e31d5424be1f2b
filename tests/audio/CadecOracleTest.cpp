// AAC and Nellymoser through our decoder family, judged by libavcodec's own decoders on the same
// coded data, and the AMR decoder around its codec.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "AvReference.h"
#include "CadecSupport.h"
#include "SampleEncoder.h"
#include "audio/AmrCodec.h"

namespace zp::test {
namespace {

using samples::AudioCodec;

// Every other sample of interleaved stereo, starting at `channel`.
std::vector<int16_t> Channel(const std::vector<int16_t>& stereo, int channel) {
  std::vector<int16_t> one;
  for (size_t i = static_cast<size_t>(channel); i < stereo.size(); i += 2) {
    one.push_back(stereo[i]);
  }
  return one;
}

// The first payload's header re-initialises the decoder once, as stereo at the stream's rate
// whatever the coder type said; mono is played as two equal channels. libfaad2 holds back the
// first frame (nothing but the transform's warm-up) and libavcodec outputs it; aligned, the two
// agree to about 65 dB here.
TEST(CadecAac, HeaderReinitialisesOnceAndTheSoundMatchesLibavcodecAbove50dB) {
  const struct {
    uint32_t coder;
    int rate;
    int channels;
    int frames;
    uint32_t perSecond;
    uint32_t frameMs;
  } kCases[] = {{25, 48000, 2, 40, 48, 21}, {12, 44100, 1, 30, 44, 23}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.coder);
    const auto frames = samples::EncodeAudio({AudioCodec::AacAdts, c.rate, c.channels, c.frames});
    ASSERT_EQ(frames.size(), static_cast<size_t>(c.frames));
    DecoderPtr decoder = MakeDecoder(c.coder);
    ASSERT_NE(decoder, nullptr);
    const auto& first = frames[0].data;
    EXPECT_TRUE(decoder->InputFirstAudioData(first.data(), static_cast<uint32_t>(first.size())));
    const WaveFormat& format = decoder->GetWaveFormat();
    EXPECT_EQ(format.nChannels, 2);
    EXPECT_EQ(format.nSamplesPerSec, static_cast<uint32_t>(c.rate));
    EXPECT_EQ(format.nBlockAlign, 4);
    EXPECT_EQ(format.nAvgBytesPerSec, static_cast<uint32_t>(c.rate) * 4);
    EXPECT_EQ(decoder->FramePreSecond(), c.perSecond);
    EXPECT_EQ(decoder->FrameMs(), c.frameMs);
    EXPECT_FALSE(decoder->InputFirstAudioData(first.data(), static_cast<uint32_t>(first.size())))
        << "only the first payload is examined";

    std::vector<int16_t> ours;  // the first frame gives nothing, each later one 2048 samples
    for (size_t i = 0; i < frames.size(); ++i) {
      const auto one = DecodeUnit(decoder.get(), frames[i].data);
      EXPECT_EQ(one.size(), i == 0 ? 0 : 2048) << "frame " << i;
      ours.insert(ours.end(), one.begin(), one.end());
    }
    const auto reference = AvDecodeAll("aac", frames, {c.rate, c.channels});
    ASSERT_EQ(reference.size(), (ours.size() / 2 + 1024) * c.channels);
    for (int channel = 0; channel < 2; ++channel) {
      const auto theirs = c.channels == 1 ? reference : Channel(reference, channel);
      const auto mine = Channel(ours, channel);
      EXPECT_GE(SnrDb(theirs.data() + 1024, mine.data(), mine.size()), 50.0) << "channel " << channel;
    }
    if (c.channels == 1) {
      EXPECT_EQ(Channel(ours, 0), Channel(ours, 1));
    }
  }
}

TEST(CadecAac, FirstDataThatIsNoHeaderIsNotLookedAtAgain) {
  const auto frames = samples::EncodeAudio({AudioCodec::AacAdts, 16000, 1, 2});
  ASSERT_EQ(frames.size(), 2u);
  DecoderPtr decoder = MakeDecoder(13);
  ASSERT_NE(decoder, nullptr);
  const uint8_t garbage[16] = {0x12, 0x34, 0xFF, 0xF1, 0x50, 0x80};
  EXPECT_FALSE(decoder->InputFirstAudioData(garbage, sizeof(garbage)));
  EXPECT_FALSE(decoder->InputFirstAudioData(frames[0].data.data(), static_cast<uint32_t>(frames[0].data.size())));
  EXPECT_EQ(decoder->GetWaveFormat().nSamplesPerSec, 16000u);
  EXPECT_EQ(decoder->GetWaveFormat().nChannels, 2);

  // A header with a channel layout other than mono or stereo changes nothing.
  DecoderPtr other = MakeDecoder(25);
  ASSERT_NE(other, nullptr);
  std::vector<uint8_t> sixChannels = frames[0].data;
  sixChannels[2] = static_cast<uint8_t>((sixChannels[2] & ~0x01) | 0x01);  // configuration 6: 1 10
  sixChannels[3] = static_cast<uint8_t>((sixChannels[3] & 0x3F) | 0x80);
  EXPECT_FALSE(other->InputFirstAudioData(sixChannels.data(), static_cast<uint32_t>(sixChannels.size())));
  EXPECT_EQ(other->GetWaveFormat().nSamplesPerSec, 48000u);
}

// The codec itself is judged by libavcodec through the AMR_ exports; here the decoder around it
// plays a whole frame as the codec decodes it, and one it cannot take as silence.
TEST(CadecAmr, PlaysFramesAsTheCodecAndBadOnesAsSilence) {
  std::vector<int16_t> input;
  samples::MakeSound(0, 160 * 4, 8000, 1, &input);
  void* encoder = nullptr;
  void* reference = nullptr;
  ASSERT_EQ(amr::EncodeInit(&encoder, 0), 0);
  ASSERT_EQ(amr::DecodeInit(&reference), 0);
  DecoderPtr decoder = MakeDecoder(14);
  ASSERT_NE(decoder, nullptr);
  for (int at = 0; at < 160 * 4; at += 160) {
    uint8_t frame[amr::kMaxFrameBytes];
    const int32_t bytes = amr::EncodeFrame(encoder, input.data() + at, frame, at / 160 * 2 + 1);
    ASSERT_GT(bytes, 0);
    std::vector<int16_t> expected(160);
    ASSERT_EQ(amr::DecodeFrame(reference, frame, bytes, expected.data(), 0), bytes);
    EXPECT_EQ(DecodeUnit(decoder.get(), frame, static_cast<size_t>(bytes)), expected) << "frame at " << at;
  }
  amr::EncodeExit(encoder);
  amr::DecodeExit(reference);
  const uint8_t shortFrame[5] = {0x3C, 1, 2, 3, 4};        // mode 7 needs 32 bytes
  const uint8_t reserved[32] = {0x50, 0x11, 0x22, 0x33};   // type 10 is not sent
  for (const auto& unit : {std::vector<uint8_t>(shortFrame, shortFrame + 5),
                           std::vector<uint8_t>(reserved, reserved + 32), std::vector<uint8_t>{}}) {
    EXPECT_EQ(DecodeUnit(decoder.get(), unit), std::vector<int16_t>(160, 0));
  }
}

TEST(CadecNelly, MatchesLibavcodecSampleForSample) {
  std::vector<int16_t> input;
  samples::MakeSound(0, 256 * 60, 8000, 1, &input);
  const auto units = AvEncode("nellymoser", input, 8000, 1, 0);
  ASSERT_GE(units.size(), 50u);
  DecoderPtr decoder = MakeDecoder(19);
  ASSERT_NE(decoder, nullptr);
  std::vector<int16_t> ours;
  for (const auto& unit : units) {
    ASSERT_EQ(unit.size(), 64u);
    const auto pcm = DecodeUnit(decoder.get(), unit);
    ASSERT_EQ(pcm.size(), 256u);
    ours.insert(ours.end(), pcm.begin(), pcm.end());
  }
  const auto reference = AvDecodeAll("nellymoser", units);
  EXPECT_EQ(reference, ours);
  // Equal and also not silent: the sound went through.
  EXPECT_TRUE(std::any_of(ours.begin(), ours.end(), [](int16_t s) { return std::abs(s) > 1000; }));
}

TEST(CadecNelly, BlockThatDecodesToNaNPlaysAsSilenceThere) {
  // Found by fuzzing: libavcodec decodes this block to NaN samples, which have no 16-bit value
  // (undefined behaviour to convert; the sanitizer build stops on it).
  const std::vector<uint8_t> block = {
      0xc9, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
      0xff, 0xff, 0xff, 0x40, 0x6b, 0x94, 0x40, 0x6b, 0x94, 0x72, 0xd2, 0x3d, 0x07, 0x53, 0x0c, 0x61,
      0x6f, 0x4e, 0xb1, 0x23, 0xec, 0x13, 0x4d, 0x65, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4,
      0xc4, 0xcc, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0xc4, 0x37, 0x37, 0x36, 0x61};
  DecoderPtr decoder = MakeDecoder(19);
  ASSERT_NE(decoder, nullptr);
  const auto pcm = DecodeUnit(decoder.get(), block);
  ASSERT_EQ(pcm.size(), 256u);
  EXPECT_GT(std::count(pcm.begin(), pcm.end(), 0), 0);
}

}  // namespace
}  // namespace zp::test
