// The voice engine against outside oracles: the ITU-T G.711/G.726 vectors, libavcodec's G.711,
// G.726 and IMA decoders, and a DVI4 decoder written here from RFC 3551's description.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "AvReference.h"
#include "DiskAudio.h"
#include "SampleEncoder.h"
#include "VoiceTestSupport.h"
#include "audio/G711.h"
#include "audio/HiVoice.h"

namespace zp::test {
namespace {

const std::string kItu = ZEPHPLAY_ITU_VECTORS;

// The vectors keep one code in the low byte of each word.
std::vector<uint8_t> LowBytes(const std::vector<int16_t>& words) { return {words.begin(), words.end()}; }

TEST(G711, MatchesItuSweepBothWaysBitForBit) {
  const std::vector<int16_t> source = ReadWords(kItu + "/g711/sweep.src");
  ASSERT_EQ(source.size(), 65536u);
  struct Law {
    const char* codes;
    const char* expanded;
    uint8_t (*encode)(int16_t);
    int16_t (*decode)(uint8_t);
  };
  const Law laws[] = {{"/g711/sweep-r.a", "/g711/sweep-r.rea", g711::LinearToAlaw, g711::AlawToLinear},
                      {"/g711/sweep-r.u", "/g711/sweep-r.reu", g711::LinearToUlaw, g711::UlawToLinear}};
  for (const Law& law : laws) {
    SCOPED_TRACE(law.codes);
    const std::vector<uint8_t> codes = LowBytes(ReadWords(kItu + law.codes));
    const std::vector<int16_t> expanded = ReadWords(kItu + law.expanded);
    ASSERT_EQ(codes.size(), source.size());
    ASSERT_EQ(expanded.size(), source.size());
    size_t encodeMismatches = 0, decodeMismatches = 0;
    for (size_t i = 0; i < source.size(); ++i) {
      encodeMismatches += law.encode(source[i]) != codes[i];
      decodeMismatches += law.decode(codes[i]) != expanded[i];
    }
    EXPECT_EQ(std::make_pair(encodeMismatches, decodeMismatches), std::make_pair(size_t{0}, size_t{0}));
  }
}

// Every engine codec with a libavcodec counterpart: the unit head and payload size, and our
// decoding of our own units against libavcodec's decoding of their payloads, unit after unit. An
// IMA payload opens with a block header whose sample comes out first: 161 samples from 160 codes.
TEST(VoiceEngine, UnitsDecodeAsLibavcodecWithStateAcrossUnits) {
  const struct {
    int32_t type;
    const char* avName;
    int bits;
  } kCases[] = {
      {kVoiceG711A, "pcm_alaw", 8},  {kVoiceG711U, "pcm_mulaw", 8},  {kVoiceG726Le16, "g726le", 2},
      {kVoiceG726Le24, "g726le", 3}, {kVoiceG726Le32, "g726le", 4},  {kVoiceG726Le40, "g726le", 5},
      {kVoiceG726Asf16, "g726", 2},  {kVoiceG726Asf24, "g726", 3},   {kVoiceG726Asf32, "g726", 4},
      {kVoiceG726Asf40, "g726", 5},  {kVoiceIma, "adpcm_ima_wav", 4},
  };
  std::vector<int16_t> pcm;
  samples::MakeSound(0, 160 * 20, 8000, 1, &pcm);
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.type);
    VoiceCodec encoder(c.type, true);
    VoiceCodec decoder(c.type, false);
    ASSERT_TRUE(encoder.ok() && decoder.ok());
    const bool ima = c.type == kVoiceIma;
    const size_t payload = 160u * c.bits / 8 + (ima ? 4 : 0);
    AvDecoder oracle(c.avName, {8000, 1, ima ? static_cast<int>(payload) : 0, c.bits, c.bits * 8000});
    ASSERT_TRUE(oracle.ok());
    std::vector<int16_t> ours, theirs;
    for (int u = 0; u < 20; ++u) {
      const std::vector<uint8_t> unit = encoder.Encode(pcm.data() + u * 160, 160);
      ASSERT_EQ(unit.size(), 4 + payload);
      ASSERT_EQ(std::vector<uint8_t>(unit.begin(), unit.begin() + 4),
                (std::vector<uint8_t>{0x00, 0x01, static_cast<uint8_t>(payload / 2), 0x00}));
      ASSERT_TRUE(decoder.Decode(unit, &ours));
      ASSERT_TRUE(oracle.Decode(unit.data() + 4, payload, &theirs));
    }
    ASSERT_EQ(ours.size(), ima ? 3220u : 3200u);
    EXPECT_EQ(ours, theirs);
    EXPECT_EQ(encoder.Encode(pcm.data(), 320).size(), 4 + 2 * payload - (ima ? 4 : 0)) << "320-sample units";
    for (size_t u = ima ? 20 : 0; u-- > 0;) {
      ours.erase(ours.begin() + static_cast<long>(u * 161));  // the header samples
    }
    // The codec really codes (libavcodec only judges the decoding): G.711, G.726 from 32 kbit/s, IMA.
    if (c.bits >= 4) {
      EXPECT_GT(SnrDb(pcm.data(), ours.data(), ours.size()), 15.0);
    }
  }
}

// Packs right-justified codes into RFC 3551 order (first code in the least significant bits).
std::vector<uint8_t> PackLsbFirst(const std::vector<uint8_t>& codes, int bits) {
  std::vector<uint8_t> out;
  uint32_t acc = 0;
  int have = 0;
  for (uint8_t code : codes) {
    acc |= static_cast<uint32_t>(code & ((1 << bits) - 1)) << have;
    have += bits;
    while (have >= 8) {
      out.push_back(static_cast<uint8_t>(acc & 0xFF));
      acc >>= 8;
      have -= 8;
    }
  }
  return out;
}

// Our G.726 is libavcodec's, which decodes to linear PCM without the reference's synchronous
// coding adjustment (it acts on log-PCM): compressed back to log-PCM, our output is mostly exact
// and nearly always within a small step. The encoder and 40 kbit/s (about 8% agreement) do not
// reproduce the reference and are not compared.
TEST(VoiceEngine, G726DecodesItuCodesCloseToTheReference) {
  const int32_t types[] = {kVoiceG726Le16, kVoiceG726Le24, kVoiceG726Le32};
  for (int bits = 2; bits <= 4; ++bits) {
    for (const bool alaw : {true, false}) {
      const std::string name = "rn" + std::to_string(8 * bits) + (alaw ? "fa" : "fm");
      SCOPED_TRACE(name);
      const std::vector<uint8_t> codes = LowBytes(ReadWords(kItu + "/g726/" + name + ".i"));
      const std::vector<uint8_t> output = LowBytes(ReadWords(kItu + "/g726/" + name + ".o"));
      ASSERT_EQ(codes.size(), 16384u);
      ASSERT_EQ(codes.size(), output.size());
      const size_t whole = codes.size() / 160 * 160;
      VoiceCodec decoder(types[bits - 2], false);
      std::vector<int16_t> decoded;
      for (size_t pos = 0; pos < whole; pos += 160) {
        const std::vector<uint8_t> chunk(codes.begin() + pos, codes.begin() + pos + 160);
        ASSERT_TRUE(decoder.Decode(MakeUnit(PackLsbFirst(chunk, bits)), &decoded));
      }
      ASSERT_EQ(decoded.size(), whole);
      size_t exact = 0, near = 0;
      for (size_t i = 0; i < whole; ++i) {
        const uint8_t log = alaw ? g711::LinearToAlaw(decoded[i]) : g711::LinearToUlaw(decoded[i]);
        exact += log == output[i];
        const int ours = alaw ? g711::AlawToLinear(log) : g711::UlawToLinear(log);
        const int ref = alaw ? g711::AlawToLinear(output[i]) : g711::UlawToLinear(output[i]);
        near += std::abs(ours - ref) <= std::max(64, std::abs(ref) / 8);
      }
      EXPECT_GT(exact, whole * 7 / 10);
      EXPECT_GT(near, whole * 95 / 100);
    }
  }
}

// RFC 3551's DVI4: a 4-byte header (predicted value, step index, reserved) that seeds the
// decoder, then 4-bit codes with the first sample in the high nibble; the IMA recommended
// practice gives the step table and the expansion.
std::vector<int16_t> RfcDvi4Decode(const uint8_t* payload, size_t bytes) {
  static const int kIndexAdjust[16] = {-1, -1, -1, -1, 2, 4, 6, 8, -1, -1, -1, -1, 2, 4, 6, 8};
  static const int kSteps[89] = {
      7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,    28,
      31,    34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,   118,
      130,   143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,   494,
      544,   598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,
      2272,  2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,
      9493,  10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
  int valpred = static_cast<int16_t>(payload[0] | (payload[1] << 8));
  int index = payload[2];
  std::vector<int16_t> out;
  for (size_t i = 4; i < bytes; ++i) {
    for (int delta : {payload[i] >> 4, payload[i] & 0x0F}) {
      const int step = kSteps[index];
      int vpdiff = step >> 3;
      if (delta & 4) vpdiff += step;
      if (delta & 2) vpdiff += step >> 1;
      if (delta & 1) vpdiff += step >> 2;
      valpred += (delta & 8) ? -vpdiff : vpdiff;
      valpred = std::clamp(valpred, -32768, 32767);
      index = std::clamp(index + kIndexAdjust[delta], 0, 88);
      out.push_back(static_cast<int16_t>(valpred));
    }
  }
  return out;
}

// DVI4 against the RFC decoder above unit by unit, state carried across units: each unit's head
// carries the predictor the previous unit ended with.
TEST(VoiceEngine, Dvi4AgreesWithTheRfcDecoderAndKeepsStateAcrossUnits) {
  std::vector<int16_t> pcm;
  samples::MakeSound(0, 160 * 10, 8000, 1, &pcm);
  VoiceCodec encoder(kVoiceDvi4, true);
  VoiceCodec decoder(kVoiceDvi4, false);
  ASSERT_TRUE(encoder.ok() && decoder.ok());
  std::vector<int16_t> ours;
  for (int u = 0; u < 10; ++u) {
    const std::vector<uint8_t> unit = encoder.Encode(pcm.data() + u * 160, 160);
    ASSERT_EQ(unit.size(), 4u + 84u);
    EXPECT_EQ(static_cast<int16_t>(unit[4] | (unit[5] << 8)), ours.empty() ? 0 : ours.back());
    std::vector<int16_t> one;
    ASSERT_TRUE(decoder.Decode(unit, &one));
    ASSERT_EQ(one, RfcDvi4Decode(unit.data() + 4, unit.size() - 4)) << "unit " << u;
    ours.insert(ours.end(), one.begin(), one.end());
  }
  EXPECT_GT(SnrDb(pcm.data(), ours.data(), ours.size()), 20.0);
}

TEST(VoiceEngine, RefusesBadUnitsAndUnknownTypes) {
  alignas(8) uint8_t state[kStateBytesG726] = {};
  EXPECT_NE(HI_VOICE_DecReset(state, 8), 0);
  EXPECT_NE(HI_VOICE_DecReset(state, 40), 0);
  EXPECT_NE(HI_VOICE_DecReset(nullptr, kVoiceG711A), 0);
  int16_t out[kVoiceMaxSamples];
  uint16_t n = 99;
  std::vector<uint8_t> unit = MakeUnit(std::vector<uint8_t>(160, 0x55));
  // A zeroed state was never reset.
  EXPECT_NE(HI_VOICE_DecodeFrame(state, unit.data(), out, &n), 0);
  ASSERT_EQ(HI_VOICE_DecReset(state, kVoiceG726Le16), 0);
  unit[0] = 0x01;
  EXPECT_NE(HI_VOICE_DecodeFrame(state, unit.data(), out, &n), 0);
  EXPECT_EQ(n, 0);
  // 510 bytes at 2 bits a code would be 2040 samples: more than a unit may hold.
  const std::vector<uint8_t> huge = MakeUnit(std::vector<uint8_t>(510, 0x11));
  EXPECT_NE(HI_VOICE_DecodeFrame(state, huge.data(), out, &n), 0);
  // An encoder refuses a decoding state and a count that makes no whole unit.
  int16_t pcm[kVoiceMaxSamples + 16] = {};
  uint8_t unitOut[kVoiceUnitHead + kVoiceMaxPayload];
  EXPECT_NE(HI_VOICE_EncodeFrame(state, pcm, unitOut, 160), 0);
  ASSERT_EQ(HI_VOICE_EncReset(state, kVoiceG726Le24), 0);
  EXPECT_NE(HI_VOICE_EncodeFrame(state, pcm, unitOut, 161), 0);
  EXPECT_NE(HI_VOICE_EncodeFrame(state, pcm, unitOut, kVoiceMaxSamples + 16), 0);
  EXPECT_EQ(HI_VOICE_EncodeFrame(state, pcm, unitOut, 320), 0);
  HI_VOICE_Release(state);
}

}  // namespace
}  // namespace zp::test
