// Encoding speed as a multiple of real time ("x_realtime": seconds of sound per second of work,
// one core), each of our encoders next to libavcodec's encoder of the same codec in the same
// run. Ten seconds of the sample maker's tone per codec, fed in the pieces the framing exports
// use (320 bytes; AAC 1024); libavcodec gets frames of its own size filled from the same sound.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

#include "SampleEncoder.h"
#include "audio/CAENC.h"

namespace {

constexpr int kSeconds = 10;

const std::vector<int16_t>& Sound(int rate) {
  static std::vector<int16_t> sounds[2];
  std::vector<int16_t>& pcm = sounds[rate == 8000 ? 0 : 1];
  if (pcm.empty()) {
    zp::samples::MakeSound(0, rate * kSeconds, rate, 1, &pcm);
  }
  return pcm;
}

void Report(benchmark::State& state) {
  state.counters["x_realtime"] = benchmark::Counter(kSeconds, benchmark::Counter::kIsIterationInvariantRate);
}

void Ours(benchmark::State& state, uint32_t coderType, int rate, uint32_t piece) {
  const std::vector<int16_t>& pcm = Sound(rate);
  const auto* bytes = reinterpret_cast<const uint8_t*>(pcm.data());
  const size_t total = pcm.size() * 2;
  std::vector<uint8_t> out(piece + zp::CAENC::kOutputSlack);
  for (auto _ : state) {
    state.PauseTiming();
    std::unique_ptr<zp::CAENC> encoder(zp::CAENC::S_InitAudioEncoder(coderType));
    if (encoder->InitEncoder() == 0) {
      state.SkipWithError("our encoder does not open");
      break;
    }
    state.ResumeTiming();
    uint64_t produced = 0;
    for (size_t at = 0; at + piece <= total; at += piece) {
      uint32_t n = 0;
      encoder->EncoderFrame(bytes + at, piece, out.data(), &n);
      produced += n;
    }
    benchmark::DoNotOptimize(produced);
  }
  Report(state);
}

// libavcodec's encoder in a bare send/receive loop; each frame is filled from the 16-bit sound
// (converted for float encoders) as a caller would.
void Libavcodec(benchmark::State& state, const char* name, int rate, int64_t bitRate) {
  const AVCodec* codec = avcodec_find_encoder_by_name(name);
  if (codec == nullptr) {
    state.SkipWithError("libavcodec has no such encoder");
    return;
  }
  const std::vector<int16_t>& pcm = Sound(rate);
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
  for (auto _ : state) {
    state.PauseTiming();
    AVCodecContext* ctx = avcodec_alloc_context3(codec);
    ctx->sample_rate = rate;
    ctx->sample_fmt = codec->sample_fmts[0];
    ctx->bit_rate = bitRate;
    av_channel_layout_default(&ctx->ch_layout, 1);
    if (avcodec_open2(ctx, codec, nullptr) < 0) {
      avcodec_free_context(&ctx);
      state.SkipWithError("libavcodec's encoder does not open");
      break;
    }
    const int frameSize = ctx->frame_size > 0 ? ctx->frame_size : 160;
    const bool isFloat = av_get_packed_sample_fmt(ctx->sample_fmt) == AV_SAMPLE_FMT_FLT;
    frame->format = ctx->sample_fmt;
    frame->nb_samples = frameSize;
    av_channel_layout_default(&frame->ch_layout, 1);
    av_frame_get_buffer(frame, 0);
    state.ResumeTiming();
    uint64_t produced = 0;
    for (size_t at = 0; at + frameSize <= pcm.size(); at += frameSize) {
      av_frame_make_writable(frame);
      if (isFloat) {
        auto* f = reinterpret_cast<float*>(frame->data[0]);
        for (int i = 0; i < frameSize; ++i) {
          f[i] = pcm[at + i] / 32768.0f;
        }
      } else {
        std::memcpy(frame->data[0], pcm.data() + at, frameSize * 2);
      }
      avcodec_send_frame(ctx, frame);
      while (avcodec_receive_packet(ctx, packet) == 0) {
        produced += packet->size;
        av_packet_unref(packet);
      }
    }
    benchmark::DoNotOptimize(produced);
    state.PauseTiming();
    av_frame_unref(frame);
    avcodec_free_context(&ctx);
    state.ResumeTiming();
  }
  av_frame_free(&frame);
  av_packet_free(&packet);
  Report(state);
}

void BM_Aac48kMono_Ours(benchmark::State& s) { Ours(s, 25, 48000, 1024); }
void BM_Aac48kMono_Libavcodec(benchmark::State& s) { Libavcodec(s, "aac", 48000, 0); }
void BM_G711A_Ours(benchmark::State& s) { Ours(s, 17, 8000, 320); }
void BM_G711A_Libavcodec(benchmark::State& s) { Libavcodec(s, "pcm_alaw", 8000, 0); }
void BM_G711U_Ours(benchmark::State& s) { Ours(s, 18, 8000, 320); }
void BM_G711U_Libavcodec(benchmark::State& s) { Libavcodec(s, "pcm_mulaw", 8000, 0); }
void BM_G726At40k_Ours(benchmark::State& s) { Ours(s, 1, 8000, 320); }
void BM_G726At40k_Libavcodec(benchmark::State& s) { Libavcodec(s, "g726le", 8000, 40000); }
void BM_ImaAdpcm_Ours(benchmark::State& s) { Ours(s, 16, 8000, 320); }
void BM_ImaAdpcm_Libavcodec(benchmark::State& s) { Libavcodec(s, "adpcm_ima_wav", 8000, 0); }
void BM_Dvi4Adpcm_Ours(benchmark::State& s) { Ours(s, 2, 8000, 320); }
void BM_AmrNb122_Ours(benchmark::State& s) { Ours(s, 14, 8000, 320); }
void BM_AmrNb122_Libavcodec(benchmark::State& s) { Libavcodec(s, "libopencore_amrnb", 8000, 12200); }
void BM_Pcm_Ours(benchmark::State& s) { Ours(s, 20, 8000, 320); }

BENCHMARK(BM_Aac48kMono_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Aac48kMono_Libavcodec)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G711A_Ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_G711A_Libavcodec)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_G711U_Ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_G711U_Libavcodec)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_G726At40k_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G726At40k_Libavcodec)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ImaAdpcm_Ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ImaAdpcm_Libavcodec)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Dvi4Adpcm_Ours)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AmrNb122_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AmrNb122_Libavcodec)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pcm_Ours)->Unit(benchmark::kMicrosecond);

}  // namespace
