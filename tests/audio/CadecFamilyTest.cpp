// The decoder family's factory, the G.711, voice-engine and PCM decoders against outside coders,
// and what they do with units that are wrong (random input is left to the fuzzers).
#include <gtest/gtest.h>

#include <vector>

#include "AvReference.h"
#include "CadecSupport.h"
#include "SampleEncoder.h"
#include "VoiceTestSupport.h"

namespace zp::test {
namespace {

using samples::AudioCodec;

// Every coder type's decoder describes its output consistently: 16-bit PCM whose block and byte
// rate follow from the channels and rate, a frame length and pace that make about a second, an
// output buffer that holds a frame; the voice-engine types (and the unknown ones) take units. The
// values themselves show in the decoding checked below and against libavcodec elsewhere. Types the
// factory does not know never start and play nothing.
TEST(CadecFactory, EveryCoderTypeDescribesItsOutputConsistently) {
  std::vector<uint32_t> coders{100, 0xFFFFFFFF};
  for (uint32_t coder = 0; coder <= 27; ++coder) {
    coders.push_back(coder);
  }
  for (const uint32_t coder : coders) {
    SCOPED_TRACE(coder);
    DecoderPtr d(CADEC::S_InitAudioDecoder(coder, 7));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->CoderType(), coder);
    const WaveFormat& f = d->GetWaveFormat();
    EXPECT_EQ(f.wFormatTag * 100 + f.wBitsPerSample, 116);
    EXPECT_EQ(f.nBlockAlign, 2 * f.nChannels);
    EXPECT_EQ(f.nAvgBytesPerSec, f.nSamplesPerSec * f.nBlockAlign);
    EXPECT_NEAR(d->FrameMs() * d->FramePreSecond(), 1000.0, 30.0);
    EXPECT_GE(static_cast<uint32_t>(d->GetOutSize()), f.nAvgBytesPerSec * d->FrameMs() / 1000);
    const bool known = coder <= 25;
    EXPECT_EQ(d->IsHisFrame(), coder <= 11 || coder == 16 || !known) << "voice-engine units";
    EXPECT_EQ(d->InitDecoder(1) != 0, known);
    if (!known) {
      EXPECT_TRUE(DecodeUnit(d.get(), MakeUnit(std::vector<uint8_t>(160, 0xD5))).empty());
    }
  }
}

TEST(CadecG711, DecodesAsLibavcodecInWhole10msPiecesOnly) {
  struct Case {
    uint32_t coder;
    AudioCodec codec;
    const char* avName;
  };
  for (const Case& c : {Case{17, AudioCodec::G711A, "pcm_alaw"}, Case{18, AudioCodec::G711U, "pcm_mulaw"}}) {
    SCOPED_TRACE(c.avName);
    // 960 samples a frame: the most one call takes.
    const auto frames = samples::EncodeAudio({.codec = c.codec, .frames = 6, .samplesPerFrame = 960});
    ASSERT_EQ(frames.size(), 6u);
    DecoderPtr d = MakeDecoder(c.coder);
    ASSERT_NE(d, nullptr);
    for (const auto& f : frames) {
      EXPECT_EQ(DecodeUnit(d.get(), f.data), AvDecodeAll(c.avName, std::vector{f}));
    }
    const std::vector<std::vector<uint8_t>> piece{{frames[0].data.begin(), frames[0].data.begin() + 160}};
    EXPECT_EQ(DecodeUnit(d.get(), piece[0]), AvDecodeAll(c.avName, piece));
    EXPECT_EQ(DecodeUnit(d.get(), piece[0].data(), 80).size(), 80u);
    for (size_t wrong : {0, 1, 79, 81, 159, 161, 1040}) {
      EXPECT_TRUE(DecodeUnit(d.get(), std::vector<uint8_t>(wrong, 0x55)).empty()) << wrong << " bytes";
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

// The pace follows the unit just played (the sound itself is the mapping test's): 320 samples
// play at 25 a second, 160 at 50; IMA units carry 161 samples, played as 160, paced as "not 160".
TEST(CadecHis, UnitsSetThePacing) {
  const struct {
    uint32_t coder;
    size_t payload, played;
    uint32_t perSecond, frameMs;
  } units[] = {{10, 320, 320, 25, 40}, {10, 160, 160, 50, 20}, {16, 84, 160, 25, 40}};
  DecoderPtr d;
  for (const auto& u : units) {
    if (d == nullptr || d->CoderType() != u.coder) {
      d = MakeDecoder(u.coder);
      ASSERT_NE(d, nullptr);
    }
    EXPECT_EQ(DecodeUnit(d.get(), MakeUnit(std::vector<uint8_t>(u.payload, 0x11))).size(), u.played);
    EXPECT_EQ(d->FramePreSecond(), u.perSecond) << u.payload;
    EXPECT_EQ(d->FrameMs(), u.frameMs) << u.payload;
  }
}

// A wrong head or a length byte promising more than the unit brings: nothing played; one
// promising less: only what it announces.
TEST(CadecHis, RefusesUnitsWithAWrongHeadOrALyingLength) {
  DecoderPtr d = MakeDecoder(10);
  ASSERT_NE(d, nullptr);
  const std::vector<uint8_t> unit = MakeUnit(std::vector<uint8_t>(160, 0xD5));
  ASSERT_EQ(DecodeUnit(d.get(), unit).size(), 160u);
  struct Case {
    size_t at;
    uint8_t value;
    size_t cut;
    size_t played;
  } cases[] = {{1, 0x02, 0, 0}, {0, 0x01, 0, 0}, {2, 0xFF, 0, 0}, {2, 80, 1, 0}, {2, 80, unit.size() - 3, 0},
               {2, 0x10, 0, 30}};
  for (const Case& c : cases) {
    std::vector<uint8_t> changed = unit;
    changed[c.at] = c.value;
    EXPECT_EQ(DecodeUnit(d.get(), changed.data(), changed.size() - c.cut).size(), c.played) << c.at << " " << c.cut;
  }
}

TEST(CadecPcm, CopiesLittleEndianSamplesAtTheCoderRate) {
  const auto frames =
      samples::EncodeAudio({.codec = AudioCodec::Pcm16, .sampleRate = 16000, .frames = 2, .samplesPerFrame = 320});
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
