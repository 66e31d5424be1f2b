// Decoding speed as a multiple of real time ("x_realtime": seconds of sound per second of
// work), each of our decoders next to libavcodec's decoder for the same coded data in the same
// run. Ten seconds of the sample maker's sound per codec, decoded unit by unit as the wave-out
// does; the libavcodec side is a bare send/receive loop with no copy out.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "AvReference.h"
#include "SampleEncoder.h"
#include "VoiceTestSupport.h"
#include "audio/AmrCodec.h"
#include "audio/CADEC.h"

namespace {

using Units = std::vector<std::vector<uint8_t>>;

constexpr int kSeconds = 10;

struct Coded {
  Units units;          // what our decoder takes, one call each
  Units avPackets;      // the same coded bytes as libavcodec takes them
  double seconds = 0;   // of sound
};

std::vector<int16_t> Sound(int rate, int channels) {
  std::vector<int16_t> pcm;
  zp::samples::MakeSound(0, rate * kSeconds, rate, channels, &pcm);
  return pcm;
}

const Coded& Aac() {
  static const Coded coded = [] {
    zp::samples::AudioParams p;
    p.codec = zp::samples::AudioCodec::AacAdts;
    p.sampleRate = 48000;
    p.channels = 2;
    p.frames = 48000 * kSeconds / 1024;
    Coded c;
    for (const auto& f : zp::samples::EncodeAudio(p)) {
      c.units.push_back(f.data);
    }
    c.avPackets = c.units;  // libavcodec reads the ADTS header in the packet as well
    c.seconds = c.units.size() * 1024.0 / 48000;
    return c;
  }();
  return coded;
}

const Coded& G711() {
  static const Coded coded = [] {
    zp::samples::AudioParams p;
    p.codec = zp::samples::AudioCodec::G711A;
    p.frames = 50 * kSeconds;
    Coded c;
    for (const auto& f : zp::samples::EncodeAudio(p)) {
      c.units.push_back(f.data);
    }
    c.avPackets = c.units;
    c.seconds = kSeconds;
    return c;
  }();
  return coded;
}

// Voice-engine units of 160 samples; libavcodec takes their payloads.
Coded VoiceUnits(int32_t engineType) {
  const std::vector<int16_t> pcm = Sound(8000, 1);
  zp::test::VoiceCodec encoder(engineType, true);
  Coded c;
  for (size_t at = 0; at + 160 <= pcm.size(); at += 160) {
    auto unit = encoder.Encode(pcm.data() + at, 160);
    c.avPackets.emplace_back(unit.begin() + zp::kVoiceUnitHead, unit.end());
    c.units.push_back(std::move(unit));
  }
  c.seconds = kSeconds;
  return c;
}

const Coded& G726At40k() {
  static const Coded coded = VoiceUnits(zp::kVoiceG726Le40);
  return coded;
}

const Coded& Ima() {
  static const Coded coded = VoiceUnits(zp::kVoiceIma);
  return coded;
}

const Coded& Amr() {
  static const Coded coded = [] {
    const std::vector<int16_t> pcm = Sound(8000, 1);
    void* encoder = nullptr;
    zp::amr::EncodeInit(&encoder, 0);
    Coded c;
    for (size_t at = 0; at + 160 <= pcm.size(); at += 160) {
      uint8_t frame[zp::amr::kMaxFrameBytes];
      const int32_t bytes = zp::amr::EncodeFrame(encoder, pcm.data() + at, frame, 7);  // 12.2 kbit/s
      c.units.emplace_back(frame, frame + (bytes > 0 ? bytes : 0));
    }
    zp::amr::EncodeExit(encoder);
    c.avPackets = c.units;
    c.seconds = kSeconds;
    return c;
  }();
  return coded;
}

void Report(benchmark::State& state, double seconds) {
  state.counters["x_realtime"] = benchmark::Counter(seconds, benchmark::Counter::kIsIterationInvariantRate);
}

void Ours(benchmark::State& state, const Coded& coded, uint32_t coderType) {
  std::unique_ptr<zp::CADEC> decoder(zp::CADEC::S_InitAudioDecoder(coderType, 0));
  std::vector<int16_t> out(static_cast<size_t>(decoder->GetOutSize()) / 2);
  for (auto _ : state) {
    state.PauseTiming();
    decoder->InitDecoder(1);  // a fresh stream each time, as libavcodec's side gets
    state.ResumeTiming();
    uint64_t samples = 0;
    for (const auto& unit : coded.units) {
      uint16_t n = static_cast<uint16_t>(decoder->GetOutSize());
      decoder->DecoderFrame(unit.data(), static_cast<int32_t>(unit.size()), out.data(), &n);
      samples += n;
    }
    benchmark::DoNotOptimize(samples);
    if (samples == 0) {
      state.SkipWithError("our decoder gave nothing");
      break;
    }
  }
  Report(state, coded.seconds);
}

void Libavcodec(benchmark::State& state, const Coded& coded, const char* name, zp::test::AvOptions options) {
  for (auto _ : state) {
    state.PauseTiming();
    zp::test::AvDecoder av(name, options);
    state.ResumeTiming();
    int64_t samples = 0;
    for (const auto& packet : coded.avPackets) {
      samples += av.DecodeBare(packet.data(), packet.size());
    }
    benchmark::DoNotOptimize(samples);
    if (samples == 0) {
      state.SkipWithError("libavcodec gave nothing");
      break;
    }
  }
  Report(state, coded.seconds);
}

zp::test::AvOptions Options(int rate, int channels, int blockAlign = 0, int bits = 0, int64_t bitRate = 0) {
  zp::test::AvOptions o;
  o.sampleRate = rate;
  o.channels = channels;
  o.blockAlign = blockAlign;
  o.bitsPerCodedSample = bits;
  o.bitRate = bitRate;
  return o;
}

void BM_Aac48kStereo_Ours(benchmark::State& s) { Ours(s, Aac(), 25); }
void BM_Aac48kStereo_Libavcodec(benchmark::State& s) { Libavcodec(s, Aac(), "aac", Options(48000, 2)); }
void BM_G711A_Ours(benchmark::State& s) { Ours(s, G711(), 17); }
void BM_G711A_Libavcodec(benchmark::State& s) { Libavcodec(s, G711(), "pcm_alaw", Options(8000, 1)); }
void BM_G726At40k_Ours(benchmark::State& s) { Ours(s, G726At40k(), 0); }
void BM_G726At40k_Libavcodec(benchmark::State& s) {
  Libavcodec(s, G726At40k(), "g726le", Options(8000, 1, 0, 5, 40000));
}
void BM_ImaAdpcm_Ours(benchmark::State& s) { Ours(s, Ima(), 16); }
void BM_ImaAdpcm_Libavcodec(benchmark::State& s) { Libavcodec(s, Ima(), "adpcm_ima_wav", Options(8000, 1, 84, 4)); }
void BM_AmrNb122_Ours(benchmark::State& s) { Ours(s, Amr(), 14); }
void BM_AmrNb122_Libavcodec(benchmark::State& s) { Libavcodec(s, Amr(), "amrnb", Options(8000, 1)); }

BENCHMARK(BM_Aac48kStereo_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Aac48kStereo_Libavcodec)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G711A_Ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_G711A_Libavcodec)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_G726At40k_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G726At40k_Libavcodec)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ImaAdpcm_Ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ImaAdpcm_Libavcodec)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AmrNb122_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AmrNb122_Libavcodec)->Unit(benchmark::kMillisecond);

}  // namespace
