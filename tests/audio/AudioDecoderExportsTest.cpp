// The stand-alone audio decoder and the AMR_ codec exports as a client uses them, judged by
// libavcodec's decoders.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <tuple>
#include <vector>

#include "AvReference.h"
#include "ClientSupport.h"
#include "zephplay.h"

namespace zp::test {
namespace {

std::vector<int16_t> AvDecode(const char* codec, const std::vector<uint8_t>& data) {
  return AvDecodeAll(codec, std::vector<std::vector<uint8_t>>{data});
}

// Two tones with a swelling loudness: speech-like enough for a speech codec.
std::vector<int16_t> Tones(size_t samples) {
  std::vector<int16_t> pcm(samples);
  for (size_t i = 0; i < samples; ++i) {
    const double t = static_cast<double>(i) / 8000.0;
    const double envelope = 0.3 + 0.7 * std::fabs(std::sin(2 * M_PI * 1.5 * t));
    pcm[i] = static_cast<int16_t>(envelope * (6000 * std::sin(2 * M_PI * 440 * t) + 3000 * std::sin(2 * M_PI * 1230 * t)));
  }
  return pcm;
}

TEST(AudioDecoderExports, NullArgumentsAndMissingHeadGiveTheirCodes) {
  uint8_t data[160] = {};
  uint8_t pcm[320];
  uint32_t length = sizeof pcm;
  uint16_t channels = 7, bits = 7;
  uint32_t rate = 7, bytesPerSec = 7;
  const auto head = Head(17);
  // An AND of codes stays -1 only when each one is.
  EXPECT_EQ(ZEPHPLAY_OpenAudioDecoder(nullptr) & ZEPHPLAY_AudioDecoderHead(nullptr, head.data(), 512) &
                ZEPHPLAY_AudioDecoderWaveFormat(nullptr, &channels, &rate, &bytesPerSec, &bits) &
                ZEPHPLAY_AudioDecoderFrame(nullptr, data, 160, pcm, &length) & ZEPHPLAY_CloseAudioDecoder(nullptr),
            -1);

  ZEPHPLAY_AUDIODECODER* decoder = nullptr;
  ASSERT_EQ(ZEPHPLAY_OpenAudioDecoder(&decoder), 0);
  EXPECT_EQ(ZEPHPLAY_AudioDecoderWaveFormat(decoder, &channels, &rate, &bytesPerSec, &bits), -1);
  EXPECT_EQ(channels, 7) << "untouched before a head";
  EXPECT_EQ(ZEPHPLAY_AudioDecoderFrame(decoder, data, 160, pcm, &length), 0);
  EXPECT_EQ(length, 0u) << "nothing decodes before a head";
  EXPECT_EQ(ZEPHPLAY_AudioDecoderHead(decoder, nullptr, 512), -1);
  EXPECT_EQ(ZEPHPLAY_AudioDecoderHead(decoder, head.data(), 11), -1);
  ASSERT_EQ(ZEPHPLAY_AudioDecoderHead(decoder, head.data(), 512), 0);
  ASSERT_EQ(ZEPHPLAY_AudioDecoderWaveFormat(decoder, &channels, &rate, &bytesPerSec, &bits), 0);
  EXPECT_EQ(std::make_tuple(channels, rate, bytesPerSec, bits), std::make_tuple(1, 8000u, 16000u, 16));
  EXPECT_EQ(ZEPHPLAY_AudioDecoderWaveFormat(decoder, nullptr, &rate, &bytesPerSec, &bits) &
                ZEPHPLAY_AudioDecoderFrame(decoder, nullptr, 160, pcm, &length) &
                ZEPHPLAY_AudioDecoderFrame(decoder, data, 160, nullptr, &length) &
                ZEPHPLAY_AudioDecoderFrame(decoder, data, 160, pcm, nullptr),
            -1);
  EXPECT_EQ(ZEPHPLAY_CloseAudioDecoder(decoder), 0);
}

// Buffers of any length decode like libavcodec's G.711 decoders (PCM gives its input back) as far
// as the room goes; voice-engine units one by one while they fit. A head of another type within
// 1..25 replaces the codec (`before` is the head given first), one outside keeps it.
TEST(AudioDecoderExports, DecodesWholeBuffersAsFarAsTheRoomGoes) {
  const auto law = RandomBytes(1600, 1);
  const auto pcm = RandomBytes(10240, 2);
  std::vector<int16_t> samples(pcm.size() / 2);  // what PCM gives back
  std::memcpy(samples.data(), pcm.data(), pcm.size());
  std::vector<uint8_t> units(law.begin(), law.begin() + 240);  // a unit of 160 bytes, one of 80
  units.insert(units.begin() + 160, {0x00, 0x01, 40, 0x00});
  units.insert(units.begin(), {0x00, 0x01, 80, 0x00});
  auto lying = units;
  lying[4 + 160 + 2] = 41;  // the second unit claims two bytes more than it brought
  const struct {
    uint16_t before;
    uint16_t coder;
    std::vector<uint8_t> data;
    uint32_t room;
    std::vector<int16_t> expected;
  } cases[] = {
      {17, 18, law, 3200, AvDecode("pcm_mulaw", law)},
      {18, 0, law, 3200, AvDecode("pcm_mulaw", law)},
      {18, 26, law, 3200, AvDecode("pcm_mulaw", law)},
      {18, 18, law, 3000, AvDecode("pcm_mulaw", {law.begin(), law.begin() + 1440})},  // whole 10 ms that fit
      {18, 18, {law.begin(), law.end() - 1}, 3200, {}},  // not whole 10 ms pieces
      {20, 20, pcm, 10240, samples},
      {10, 10, units, 8192, AvDecode("pcm_alaw", {law.begin(), law.begin() + 240})},
      {10, 10, units, 400, AvDecode("pcm_alaw", {law.begin(), law.begin() + 160})},
      {10, 10, lying, 8192, AvDecode("pcm_alaw", {law.begin(), law.begin() + 160})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.before << " then " << c.coder << ", " << c.data.size() << "/" << c.room);
    ZEPHPLAY_AUDIODECODER* decoder = nullptr;
    ASSERT_EQ(ZEPHPLAY_OpenAudioDecoder(&decoder), 0);
    for (const uint16_t coder : {c.before, c.coder}) {
      const auto head = Head(coder);
      EXPECT_EQ(ZEPHPLAY_AudioDecoderHead(decoder, head.data(), 512), 0);
    }
    std::vector<int16_t> pcm(c.room / 2);
    uint32_t length = c.room;
    EXPECT_EQ(ZEPHPLAY_AudioDecoderFrame(decoder, c.data.data(), static_cast<uint32_t>(c.data.size()),
                                         reinterpret_cast<uint8_t*>(pcm.data()), &length),
              0);
    EXPECT_LE(length, c.room);
    pcm.resize(length / 2);
    EXPECT_EQ(pcm, c.expected);
    EXPECT_EQ(ZEPHPLAY_CloseAudioDecoder(decoder), 0);
  }
}

// AMR through the exports, encoded and decoded again: compared with the input and with what
// libavcodec's amrnb decoder makes of the same frames, in every mode.
TEST(AmrExports, RoundTripInEveryModeAgreesWithLibavcodec) {
  const std::vector<int16_t> input = Tones(160 * 100);
  for (int32_t mode = 0; mode <= 7; ++mode) {
    void* encoder = nullptr, *decoder = nullptr;
    ASSERT_EQ(AMR_Encode_Init(&encoder, 0), 0);
    ASSERT_EQ(AMR_Decode_Init(&decoder), 0);
    std::vector<int16_t> ours, reference;
    AvDecoder oracle("amrnb");
    ASSERT_TRUE(oracle.ok());
    for (size_t at = 0; at + 160 <= input.size(); at += 160) {
      uint8_t frame[32];
      const int32_t bytes = AMR_Encode_Frame(encoder, input.data() + at, frame, mode);
      ASSERT_GT(bytes, 0);
      int16_t pcm[160];
      ASSERT_EQ(AMR_Decode_Frame(decoder, frame, bytes, pcm, 0), bytes);
      ours.insert(ours.end(), pcm, pcm + 160);
      ASSERT_TRUE(oracle.Decode(frame, static_cast<size_t>(bytes), &reference));
    }
    EXPECT_EQ(AMR_Encode_Exit(encoder) | AMR_Decode_Exit(decoder), 0);
    ASSERT_EQ(reference.size(), ours.size());
    const double vsLibav = SnrDb(reference.data(), ours.data(), ours.size());
    double vsInput = -100;
    for (size_t lag = 0; lag <= 80; ++lag) {
      vsInput = std::max(vsInput, SnrDb(input.data(), ours.data() + lag, ours.size() - lag));
    }
    // Measured: 28 to 34 dB against libavcodec (a wrong bit order or a shifted frame lands near
    // 0 dB) and 7 to 12 dB against the input at the best lag (a speech codec on tones).
    EXPECT_GE(vsLibav, 25.0) << "mode " << mode;
    EXPECT_GE(vsInput, 6.0) << "mode " << mode;
  }
  EXPECT_EQ(input, Tones(160 * 100)) << "the encoder leaves its input alone";
}

TEST(AmrExports, BadArgumentsAndFramesGiveTheirCodes) {
  void* decoder = nullptr, *encoder = nullptr;
  int16_t pcm[160] = {1};
  uint8_t frame[32] = {};
  // An AND of codes stays -1 only when each one is.
  EXPECT_EQ(AMR_Decode_Init(nullptr) & AMR_Encode_Init(nullptr, 0) & AMR_Decode_Exit(nullptr) &
                AMR_Encode_Exit(nullptr) & AMR_Decode_Frame(nullptr, frame, 32, pcm, 0) &
                AMR_Encode_Frame(nullptr, pcm, frame, 7),
            -1);
  ASSERT_EQ(AMR_Encode_Init(&encoder, 1), 0);
  ASSERT_EQ(AMR_Decode_Init(&decoder), 0);
  const std::vector<int16_t> input = Tones(160);
  ASSERT_EQ(AMR_Encode_Frame(encoder, input.data(), frame, 7), 32);
  EXPECT_EQ(AMR_Decode_Frame(decoder, frame, 31, pcm, 0), -1) << "one byte short";
  EXPECT_EQ(pcm[0], 0) << "a refused frame leaves silence";
  EXPECT_EQ(AMR_Encode_Frame(encoder, input.data(), frame, -1) & AMR_Encode_Frame(encoder, input.data(), frame, 8) &
                AMR_Encode_Frame(encoder, nullptr, frame, 7) & AMR_Encode_Frame(encoder, input.data(), nullptr, 7) &
                AMR_Decode_Frame(decoder, nullptr, 32, pcm, 0) & AMR_Decode_Frame(decoder, frame, 32, nullptr, 0),
            -1);
  const uint8_t reserved[32] = {0x50};  // frame type 10 is never sent
  EXPECT_EQ(AMR_Decode_Frame(decoder, reserved, 32, pcm, 0), -1);
  EXPECT_EQ(AMR_Decode_Frame(decoder, frame, 32, pcm, 1), 32) << "a damaged frame is concealed";
  const uint8_t noData[1] = {0x7C};
  EXPECT_EQ(AMR_Decode_Frame(decoder, noData, 1, pcm, 0), 1);
  EXPECT_EQ(AMR_Encode_Exit(encoder) | AMR_Decode_Exit(decoder), 0);
}

}  // namespace
}  // namespace zp::test
