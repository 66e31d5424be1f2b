// The audio encoders as a client sees them, judged by outside decoders: the ITU-T G.711 vectors,
// libavcodec's G.726, IMA, AAC and AMR-NB codecs, and our own decoders through their exports.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "AvReference.h"
#include "audio/ClientSupport.h"
#include "audio/DiskAudio.h"
#include "zephplay.h"

namespace zp::test {
namespace {

std::vector<int16_t> Tone(size_t n, int rate) {
  std::vector<int16_t> pcm(n);
  for (size_t i = 0; i < n; ++i) {
    const double t = static_cast<double>(i) / rate;
    pcm[i] = static_cast<int16_t>(6000 * std::sin(2 * M_PI * 440 * t) + 3000 * std::sin(2 * M_PI * 1230 * t));
  }
  return pcm;
}

// One exported encoder; payloads of the frames it made. Closing answers 0 exactly when it opened.
struct Encoder {
  ZEPHPLAY_AUDIOENCODER* handle = nullptr;
  const int32_t opened;

  explicit Encoder(uint32_t coder) : opened(ZEPHPLAY_OpenAudioEncoder(&handle, coder)) {}
  ~Encoder() { EXPECT_EQ(ZEPHPLAY_CloseAudioEncoder(handle), opened); }

  // One ZEPHPLAY_AudioEncoderFrame call; the payload (empty on -1) after checking the head.
  std::vector<uint8_t> Frame(const uint8_t* pcm, uint32_t len) {
    std::vector<uint8_t> frame(ZEPHPLAY_AUDIO_ENCODER_FRAME_SIZE(len));
    uint32_t frameLen = 0;
    const int32_t result = ZEPHPLAY_AudioEncoderFrame(handle, pcm, len, frame.data(), &frameLen);
    return Payload(result, frame, frameLen);
  }
  // Frames of `piece` bytes over all of pcm, payloads concatenated.
  std::vector<uint8_t> Stream(const std::vector<int16_t>& pcm, uint32_t piece) {
    const std::vector<uint8_t> bytes = Bytes(pcm);
    std::vector<uint8_t> all;
    for (size_t at = 0; at + piece <= bytes.size(); at += piece) {
      const std::vector<uint8_t> payload = Frame(bytes.data() + at, piece);
      all.insert(all.end(), payload.begin(), payload.end());
    }
    return all;
  }

  static std::vector<uint8_t> Payload(int32_t result, std::vector<uint8_t> frame, uint32_t frameLen) {
    if (result != 0) {
      return {};
    }
    uint32_t payload = 0;
    uint64_t stamp = 0;
    std::memcpy(&payload, frame.data(), 4);
    std::memcpy(&stamp, frame.data() + 4, 8);
    EXPECT_EQ(frameLen, payload + 12);
    EXPECT_LT(stamp, 1ull << 32);  // a 32-bit microsecond tick, widened
    return std::vector<uint8_t>(frame.begin() + 12, frame.begin() + frameLen);
  }
};

// Units back to back, cut at the lengths their heads give (at least 4 bytes).
template <typename LengthOf>
std::vector<std::vector<uint8_t>> Split(const std::vector<uint8_t>& payload, LengthOf lengthOf) {
  std::vector<std::vector<uint8_t>> units;
  for (size_t at = 0, len = 0; at + 7 <= payload.size(); at += len) {
    len = std::max<size_t>(4, lengthOf(payload.data() + at));
    units.emplace_back(payload.begin() + at, payload.begin() + std::min(payload.size(), at + len));
  }
  return units;
}
// Voice-engine units "00 01 LL 00" and ADTS frames (by frame_length).
std::vector<std::vector<uint8_t>> Units(const std::vector<uint8_t>& payload) {
  return Split(payload, [](const uint8_t* u) { return u[0] == 0 && u[1] == 1 ? 4 + 2 * u[2] : 0; });
}
std::vector<std::vector<uint8_t>> AdtsFrames(const std::vector<uint8_t>& payload) {
  return Split(payload, [](const uint8_t* f) { return f[0] == 0xFF ? (f[3] & 3) << 11 | f[4] << 3 | f[5] >> 5 : 0; });
}

// Our decoder through its exports: each packet decoded on its own.
std::vector<int16_t> OurDecode(uint32_t coder, int rate, const std::vector<std::vector<uint8_t>>& packets) {
  ZEPHPLAY_AUDIODECODER* decoder = nullptr;
  EXPECT_EQ(ZEPHPLAY_OpenAudioDecoder(&decoder), 0);
  const std::vector<uint8_t> head = Head(static_cast<uint16_t>(coder), 1, static_cast<uint16_t>(rate));
  EXPECT_EQ(ZEPHPLAY_AudioDecoderHead(decoder, head.data(), 512), 0);
  std::vector<int16_t> out;
  std::vector<int16_t> pcm(8192);
  for (const auto& packet : packets) {
    uint32_t bytes = static_cast<uint32_t>(pcm.size() * 2);
    EXPECT_EQ(ZEPHPLAY_AudioDecoderFrame(decoder, packet.data(), static_cast<uint32_t>(packet.size()),
                                         reinterpret_cast<uint8_t*>(pcm.data()), &bytes), 0);
    out.insert(out.end(), pcm.begin(), pcm.begin() + bytes / 2);
  }
  uint16_t channels = 1, bits = 0;
  uint32_t rateOut = 0, avgBytes = 0;
  ZEPHPLAY_AudioDecoderWaveFormat(decoder, &channels, &rateOut, &avgBytes, &bits);
  ZEPHPLAY_CloseAudioDecoder(decoder);
  // libfaad2 plays mono as two equal channels: keep the first.
  for (size_t i = 0; channels == 2 && i < out.size() / 2; ++i) {
    out[i] = out[2 * i];
  }
  out.resize(out.size() / channels);
  return out;
}

// The best SNR of decoded against the input over the codec delays up to maxLag samples.
double BestSnr(const std::vector<int16_t>& input, const std::vector<int16_t>& decoded, size_t maxLag) {
  double best = -100;
  for (size_t lag = 0; lag <= maxLag && lag < decoded.size(); ++lag) {
    best = std::max(best, SnrDb(input.data(), decoded.data() + lag, std::min(input.size(), decoded.size() - lag)));
  }
  return best;
}

// Units of `size` bytes back to back, each without its 4-byte head (empty when one has another
// size); size 0: packets of any size joined whole.
std::vector<uint8_t> Payloads(const std::vector<std::vector<uint8_t>>& units, size_t size) {
  std::vector<uint8_t> all;
  for (const auto& unit : units) {
    if (size != 0 && unit.size() != size) {
      return {};
    }
    all.insert(all.end(), unit.begin() + (size != 0 ? 4 : 0), unit.end());
  }
  return all;
}

TEST(AudioEncoder, G711MatchesItuVectorsBitForBit) {
  const std::string dir = ZEPHPLAY_ITU_VECTORS "/g711/";
  const std::vector<int16_t> sweep = ReadWords(dir + "sweep.src");
  ASSERT_EQ(sweep.size(), 65536u);
  for (const auto& [coder, file, units] : {std::tuple{17u, "sweep-r.a", false}, {18u, "sweep-r.u", false},
                                            {10u, "sweep-r.a", true}, {11u, "sweep-r.u", true}}) {
    SCOPED_TRACE(coder);
    Encoder encoder(coder);
    ASSERT_EQ(encoder.opened, 0);
    const std::vector<uint8_t> stream = encoder.Stream(sweep, 3200);
    const std::vector<uint8_t> codes = units ? Payloads(Units(stream), 164) : stream;
    const std::vector<int16_t> reference = ReadWords(dir + file);
    ASSERT_EQ(codes.size(), 65536u / 1600 * 1600);
    for (size_t i = 0; i < codes.size(); ++i) {
      ASSERT_EQ(codes[i], reference[i] & 0xFF) << "sample " << i;
    }
  }
}

TEST(AudioEncoder, VoiceEngineTypesDecodeBackAndMatchLibavcodec) {
  const std::vector<int16_t> pcm = Tone(160 * 100, 8000);
  const struct {
    uint32_t coder;
    size_t unitBytes;    // for 160 samples (161 for type 16)
    const char* avName;  // libavcodec's encoder of the same codes, or null
    int bits;
    double minSnr;
  } cases[] = {{1, 4 + 100, "g726le", 5, 25}, {3, 4 + 100, "g726", 5, 25}, {4, 4 + 80, "g726", 4, 18},
                        {5, 4 + 60, "g726", 3, 10},    {6, 4 + 40, "g726", 2, 4},   {7, 4 + 80, "g726le", 4, 18},
                        {8, 4 + 60, "g726le", 3, 10},  {9, 4 + 40, "g726le", 2, 4}, {2, 4 + 84, nullptr, 0, 15},
                        {16, 4 + 84, nullptr, 0, 15}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.coder);
    Encoder encoder(c.coder);
    ASSERT_EQ(encoder.opened, 0);
    const std::vector<std::vector<uint8_t>> units = Units(encoder.Stream(pcm, 320));
    // Type 16 makes 161-sample units from 320-byte pieces: one fewer than the pieces.
    ASSERT_EQ(units.size(), c.coder == 16 ? 99u : 100u);
    const std::vector<uint8_t> codes = Payloads(units, c.unitBytes);
    ASSERT_EQ(codes.size(), units.size() * (c.unitBytes - 4));
    const std::vector<int16_t> decoded = OurDecode(c.coder, 8000, units);
    ASSERT_GE(decoded.size(), pcm.size() - 320);
    std::vector<int16_t> heard = pcm;  // our decoder plays 160 of each 161-sample IMA unit
    for (size_t unit = c.coder == 16 ? pcm.size() / 161 : 0; unit-- > 0;) {
      heard.erase(heard.begin() + unit * 161 + 160);
    }
    EXPECT_GT(BestSnr(heard, decoded, 0), c.minSnr);
    if (c.avName != nullptr) {
      EXPECT_EQ(codes, Payloads(AvEncode(c.avName, pcm, 8000, 1, c.bits * 8000, 160), 0));
    }
    if (c.coder == 16) {  // each unit gives back its 161 samples where they were taken
      const auto blocks = Split(codes, [](const uint8_t*) { return 84; });
      const auto theirs = AvDecodeAll("adpcm_ima_wav", blocks, {8000, 1, 84, 4});
      ASSERT_EQ(theirs.size(), units.size() * 161);
      EXPECT_GT(BestSnr(pcm, theirs, 0), c.minSnr);
    }
  }
}

// AAC at every rate: libavcodec and libfaad2 (through our decoder) hear the tone again; AMR 12.2
// in libavcodec too.
TEST(AudioEncoder, AacAndAmrDecodeInLibavcodec) {
  constexpr double kMinSnr = 20.0;  // seen: 24.7 dB at 32000 Hz, 32 to 59 dB elsewhere
  for (uint32_t coder : {12u, 13u, 15u, 22u, 24u, 25u}) {
    SCOPED_TRACE(coder);
    const int rate = ZEPHPLAY_GetAacSampleRate(coder);
    const std::vector<int16_t> pcm = Tone(1024 * 40, rate);
    Encoder encoder(coder);
    ASSERT_EQ(encoder.opened, 0);
    const std::vector<std::vector<uint8_t>> frames = AdtsFrames(encoder.Stream(pcm, 2048));
    // One frame of look-ahead: 40 frames in, 39 out.
    ASSERT_EQ(frames.size(), 39u);
    EXPECT_GT(BestSnr(pcm, AvDecodeAll("aac", frames, {rate}), 2048), kMinSnr);
    EXPECT_GT(BestSnr(pcm, OurDecode(coder, rate, frames), 2048), kMinSnr);
  }
  EXPECT_EQ(Encoder(23).opened, -1);  // 40000 Hz has no ADTS rate index
  const std::vector<int16_t> pcm = Tone(160 * 100, 8000);
  Encoder amr(14);
  ASSERT_EQ(amr.opened, 0);
  // 32-byte frames, each with the ToC of mode 7 and the quality bit.
  const auto frames = Split(amr.Stream(pcm, 3200), [](const uint8_t* f) { return f[0] == 0x3C ? 32 : 0; });
  ASSERT_EQ(frames.size(), 100u);
  EXPECT_GT(BestSnr(pcm, AvDecodeAll("amrnb", frames), 400), 8.0);
}

// Frames cut whole pieces; the head, the AAC rates and the refusals.
TEST(AudioEncoder, FramingHeadAndRefusals) {
  const std::vector<uint8_t> pcm = Bytes(Tone(8192, 8000));
  const struct {
    uint32_t coder;
    bool oneFrame;
    uint32_t length;
    int32_t result;
    uint32_t payload;   // checked when the result is 0
    uint32_t consumed;  // as ZEPHPLAY_AudioEncOneFrame returns it
  } cases[] = {
      {18, false, 3000, 0, 1440, 3000},    // 9 pieces of 320, 120 bytes dropped
      {17, false, 319, -1, 0, 319},        // no whole piece
      {20, false, 1000, 0, 960, 1000},     // PCM: 3 pieces
      {18, true, 1000, 0, 160, 320},       // the first piece gives output
      {16, false, 320, -1, 0, 320},        // IMA holds 320 of 322 bytes
      {12, false, 1500, -1, 0, 1500},      // AAC: 1024 bytes taken, the rest dropped
      {12, true, 3072, -1, 0, 3072},       // two AAC frames fed, the look-ahead holds the first
      {12, true, 8192, 0, 0, 8192},        // one 8192-byte piece, output follows at once
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.coder << (c.oneFrame ? " one " : " frame ") << c.length);
    Encoder encoder(c.coder);
    ASSERT_EQ(encoder.opened, 0);
    std::vector<uint8_t> frame(ZEPHPLAY_AUDIO_ENCODER_FRAME_SIZE(c.length));
    uint32_t frameLen = 0, length = c.length;
    const int32_t rc = c.oneFrame ? ZEPHPLAY_AudioEncOneFrame(encoder.handle, pcm.data(), &length, frame.data(), &frameLen)
                                  : ZEPHPLAY_AudioEncoderFrame(encoder.handle, pcm.data(), length, frame.data(), &frameLen);
    ASSERT_EQ(rc, c.result);
    const size_t payload = Encoder::Payload(rc, frame, frameLen).size();
    EXPECT_EQ(payload, c.payload != 0 ? c.payload : payload);
    EXPECT_EQ(length, c.consumed);
  }
  // The AAC frame that the first call could not make comes with the next ones.
  Encoder aac(12);
  EXPECT_TRUE(aac.Frame(pcm.data(), 1500).empty());
  EXPECT_TRUE(aac.Frame(pcm.data(), 1024).empty());
  EXPECT_EQ(AdtsFrames(aac.Frame(pcm.data(), 2048)).size(), 1u);
  Encoder encoder(18);
  std::vector<uint8_t> head(512, 0xAA);
  uint32_t len = 0;
  ASSERT_EQ(ZEPHPLAY_AudioEncoderHead(encoder.handle, head.data(), &len), 0);
  EXPECT_EQ(len, 512u);
  EXPECT_EQ(head, Head(18, 0, 0));
  EXPECT_EQ(Encoder(0).opened, -1);
  EXPECT_EQ(Encoder(99).opened, -1);
  EXPECT_EQ(ZEPHPLAY_GetAacSampleRate(14), 0);
  EXPECT_EQ(ZEPHPLAY_GetAacSampleRate(24), 44100);
  // An AND of codes stays -1 only when each one is.
  EXPECT_EQ(ZEPHPLAY_OpenAudioEncoder(nullptr, 18) & ZEPHPLAY_AudioEncoderFrame(nullptr, head.data(), 320, head.data(), &len) &
                ZEPHPLAY_AudioEncOneFrame(nullptr, head.data(), &len, head.data(), &len) & ZEPHPLAY_CloseAudioEncoder(nullptr),
            -1);
}

}  // namespace
}  // namespace zp::test
