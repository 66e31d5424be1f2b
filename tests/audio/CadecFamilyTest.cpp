// The decoder family's factory, the G.711, voice-engine and PCM decoders against outside coders,
// and what they do with units that are wrong (random input is left to the fuzzers).
#include <gtest/gtest.h>

#include <vector>

#include "AvAudio.h"
#include "CadecSupport.h"
#include "SampleEncoder.h"
#include "VoiceTestSupport.h"

namespace zp::test {
namespace {

using samples::AudioCodec;
using samples::AudioParams;

// The decoder each coder type gets shows in its format, pacing and output size; the decoding
// itself is checked per family below and against libavcodec elsewhere. Types the factory does
// not know get a decoder that never starts and plays nothing.
TEST(CadecFactory, CoderTypesGiveTheirFormatAndPacing) {
  struct Row {
    uint32_t coder;
    bool his;
    uint16_t channels;
    uint32_t rate;
    uint32_t perSecond;
    uint32_t frameMs;
    int outSize;
  };
  const Row rows[] = {
      {0, true, 1, 8000, 50, 20, 1280},       {11, true, 1, 8000, 50, 20, 1280},
      {12, false, 2, 8000, 8, 128, 8192},     {13, false, 2, 16000, 16, 64, 8192},
      {14, false, 1, 8000, 50, 20, 1280},     {15, false, 2, 24000, 24, 42, 8192},
      {16, true, 1, 8000, 50, 20, 1280},      {17, false, 1, 8000, 50, 20, 1920},
      {18, false, 1, 8000, 50, 20, 1920},     {19, false, 1, 8000, 50, 20, 2048},
      {20, false, 1, 8000, 50, 20, 5120},     {21, false, 1, 16000, 50, 20, 5120},
      {22, false, 2, 32000, 32, 32, 8192},    {23, false, 2, 40000, 40, 25, 8192},
      {24, false, 2, 44100, 44, 23, 8192},    {25, false, 2, 48000, 48, 21, 8192},
      {26, true, 1, 8000, 50, 20, 1280},      {27, true, 1, 8000, 50, 20, 1280},
      {100, true, 1, 8000, 50, 20, 1280},     {0xFFFFFFFF, true, 1, 8000, 50, 20, 1280},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.coder);
    DecoderPtr d(CADEC::S_InitAudioDecoder(row.coder, 7));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->CoderType(), row.coder);
    const WaveFormat& f = d->GetWaveFormat();
    EXPECT_EQ(f.wFormatTag, 1);
    EXPECT_EQ(f.nChannels, row.channels);
    EXPECT_EQ(f.nSamplesPerSec, row.rate);
    EXPECT_EQ(f.wBitsPerSample, 16);
    EXPECT_EQ(f.nBlockAlign, 2 * row.channels);
    EXPECT_EQ(f.nAvgBytesPerSec, row.rate * 2 * row.channels);
    EXPECT_EQ(d->FramePreSecond(), row.perSecond);
    EXPECT_EQ(d->FrameMs(), row.frameMs);
    EXPECT_EQ(d->GetOutSize(), row.outSize);
    EXPECT_EQ(d->IsHisFrame(), row.his);
    EXPECT_FALSE(d->ResampleEnabled());
    EXPECT_EQ(d->GetPcmCallback(), nullptr);
    const bool known = row.coder <= 25;
    EXPECT_EQ(d->InitDecoder(1) != 0, known);
    if (!known) {
      EXPECT_TRUE(DecodeUnit(d.get(), MakeUnit(std::vector<uint8_t>(160, 0xD5))).empty());
    }
  }
}

std::vector<int16_t> AvDecodeG711(const char* name, const uint8_t* data, size_t size) {
  AvAudioDecoder av(name, {8000, 1});
  std::vector<int16_t> pcm;
  av.Decode(data, size, &pcm);
  return pcm;
}

TEST(CadecG711, DecodesAsLibavcodecInWhole10msPiecesOnly) {
  struct Case {
    uint32_t coder;
    AudioCodec codec;
    const char* avName;
  };
  for (const Case& c : {Case{17, AudioCodec::G711A, "pcm_alaw"}, Case{18, AudioCodec::G711U, "pcm_mulaw"}}) {
    SCOPED_TRACE(c.avName);
    AudioParams params;
    params.codec = c.codec;
    params.frames = 6;
    params.samplesPerFrame = 960;  // the most one call takes
    const auto frames = samples::EncodeAudio(params);
    ASSERT_EQ(frames.size(), 6u);
    DecoderPtr d = MakeDecoder(c.coder);
    ASSERT_NE(d, nullptr);
    for (const auto& f : frames) {
      EXPECT_EQ(DecodeUnit(d.get(), f.data), AvDecodeG711(c.avName, f.data.data(), f.data.size()));
    }
    const uint8_t* bytes = frames[0].data.data();
    EXPECT_EQ(DecodeUnit(d.get(), bytes, 160), AvDecodeG711(c.avName, bytes, 160));
    EXPECT_EQ(DecodeUnit(d.get(), bytes, 80).size(), 80u);
    for (size_t wrong : {0, 1, 79, 81, 159, 161, 1040}) {
      std::vector<uint8_t> data(wrong, 0x55);
      EXPECT_TRUE(DecodeUnit(d.get(), data).empty()) << wrong << " bytes";
    }
  }
}

TEST(CadecHis, CoderTypesReachTheirEngineCodec) {
  // coder type -> engine type, and the samples of one unit (IMA's header sample makes 161).
  const std::pair<uint32_t, int32_t> map[] = {{0, 7},  {1, 7},  {2, 3},  {3, 39},  {4, 38},  {5, 37}, {6, 36},
                                              {7, 6},  {8, 5},  {9, 4},  {10, 1},  {11, 2},  {16, 35}};
  std::vector<int16_t> input;
  samples::MakeSound(0, 160 * 4, 8000, 1, &input);
  for (const auto& [coder, engine] : map) {
    SCOPED_TRACE(coder);
    VoiceCodec encoder(engine, true);
    VoiceCodec reference(engine, false);
    ASSERT_TRUE(encoder.ok() && reference.ok());
    DecoderPtr d = MakeDecoder(coder);
    ASSERT_NE(d, nullptr);
    for (int unit = 0; unit < 4; ++unit) {
      const auto coded = encoder.Encode(input.data() + 160 * unit, 160);
      ASSERT_FALSE(coded.empty());
      std::vector<int16_t> expected;
      ASSERT_TRUE(reference.Decode(coded, &expected));
      expected.resize(expected.size() - expected.size() % 10);
      EXPECT_EQ(DecodeUnit(d.get(), coded), expected) << "unit " << unit;
    }
  }
}

TEST(CadecHis, G711UnitsDecodeAsLibavcodecAndSetThePacing) {
  AudioParams params;
  params.codec = AudioCodec::HisiG711A;
  params.frames = 3;
  params.samplesPerFrame = 160;
  const auto short_units = samples::EncodeAudio(params);
  params.samplesPerFrame = 320;
  const auto long_units = samples::EncodeAudio(params);
  ASSERT_EQ(short_units.size(), 3u);
  ASSERT_EQ(long_units.size(), 3u);
  DecoderPtr d = MakeDecoder(10);
  ASSERT_NE(d, nullptr);

  const auto& longUnit = long_units[0].data;
  EXPECT_EQ(DecodeUnit(d.get(), longUnit), AvDecodeG711("pcm_alaw", longUnit.data() + 4, 320));
  EXPECT_EQ(d->FramePreSecond(), 25u);
  EXPECT_EQ(d->FrameMs(), 40u);
  const auto& shortUnit = short_units[1].data;
  EXPECT_EQ(DecodeUnit(d.get(), shortUnit), AvDecodeG711("pcm_alaw", shortUnit.data() + 4, 160));
  EXPECT_EQ(d->FramePreSecond(), 50u);
  EXPECT_EQ(d->FrameMs(), 20u);

  // IMA units carry 161 samples: played as 160, paced as "not 160".
  DecoderPtr ima = MakeDecoder(16);
  ASSERT_NE(ima, nullptr);
  EXPECT_EQ(DecodeUnit(ima.get(), MakeUnit(std::vector<uint8_t>(84, 0x11))).size(), 160u);
  EXPECT_EQ(ima->FramePreSecond(), 25u);
  EXPECT_EQ(ima->FrameMs(), 40u);
}

TEST(CadecHis, RefusesUnitsWithAWrongHeadOrALyingLength) {
  DecoderPtr d = MakeDecoder(10);
  ASSERT_NE(d, nullptr);
  std::vector<uint8_t> unit = MakeUnit(std::vector<uint8_t>(160, 0xD5));
  ASSERT_EQ(DecodeUnit(d.get(), unit).size(), 160u);

  std::vector<uint8_t> wrongHead = unit;
  wrongHead[1] = 0x02;
  EXPECT_TRUE(DecodeUnit(d.get(), wrongHead).empty());
  wrongHead = unit;
  wrongHead[0] = 0x01;
  wrongHead[1] = 0x00;
  EXPECT_TRUE(DecodeUnit(d.get(), wrongHead).empty());
  // The length byte promises more than the unit brings.
  EXPECT_TRUE(DecodeUnit(d.get(), unit.data(), unit.size() - 1).empty());
  std::vector<uint8_t> lying = unit;
  lying[2] = 0xFF;
  EXPECT_TRUE(DecodeUnit(d.get(), lying).empty());
  EXPECT_TRUE(DecodeUnit(d.get(), unit.data(), 3).empty());
  // A length byte that promises less than the unit brings: only what it announces is played.
  lying[2] = 0x10;
  EXPECT_EQ(DecodeUnit(d.get(), lying).size(), 30u);
}

TEST(CadecPcm, CopiesLittleEndianSamplesAtTheCoderRate) {
  AudioParams params;
  params.codec = AudioCodec::Pcm16;
  params.sampleRate = 16000;
  params.frames = 2;
  params.samplesPerFrame = 320;
  const auto frames = samples::EncodeAudio(params);
  ASSERT_EQ(frames.size(), 2u);
  DecoderPtr d = MakeDecoder(21);
  ASSERT_NE(d, nullptr);
  std::vector<int16_t> expected;
  samples::MakeSound(320, 320, 16000, 1, &expected);
  EXPECT_EQ(DecodeUnit(d.get(), frames[1].data), expected);
  EXPECT_EQ(DecodeUnit(d.get(), frames[1].data.data(), 7).size(), 3u);
  EXPECT_EQ(DecodeUnit(d.get(), std::vector<uint8_t>(5120, 1)).size(), 2560u);
  EXPECT_TRUE(DecodeUnit(d.get(), std::vector<uint8_t>(5121, 1)).empty());
}

}  // namespace
}  // namespace zp::test
