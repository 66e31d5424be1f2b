// Decoding 300 frames of 1080p through CVDECH264 next to a bare libavcodec send/receive loop
// with the same decoder settings, and the two captures of a 1080p picture next to a plain
// fwrite of a BMP's worth of bytes. The streams are encoded once at start (x264 preset medium
// with B-frames; x265 preset fast with B-frames), which takes a while. Decoding is timed in
// CPU seconds of the whole process (every decoder thread), which a shared machine disturbs
// far less than wall-clock time; "fps" is frames per such second.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "SampleEncoder.h"
#include "platform/TempFile.h"
#include "video/CVDECH264.h"

namespace {

using zp::samples::EncodedFrame;
using zp::samples::VideoCodec;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr int kFrames = 300;

const std::vector<EncodedFrame>& Stream(bool hevc) {
  static const auto make = [](VideoCodec codec, const char* preset) {
    zp::samples::VideoParams p;
    p.codec = codec;
    p.width = kWidth;
    p.height = kHeight;
    p.frames = kFrames;
    p.gop = 50;
    p.bFrames = true;
    p.preset = preset;
    std::vector<EncodedFrame> frames = zp::samples::EncodeVideo(p);
    if (frames.size() != static_cast<size_t>(kFrames)) {
      std::fprintf(stderr, "encoding the benchmark stream failed\n");
      std::exit(1);
    }
    return frames;
  };
  static const std::vector<EncodedFrame> h264 = make(VideoCodec::H264, "medium");
  static const std::vector<EncodedFrame> h265 = make(VideoCodec::H265, "fast");
  return hevc ? h265 : h264;
}

uint32_t TypeOf(const EncodedFrame& f) { return f.key ? zp::CVDEC::kKeyFrameType : 0x63643100; }

void Report(benchmark::State& state, uint64_t pictures) {
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kFrames);
  state.counters["pictures"] =
      benchmark::Counter(static_cast<double>(pictures), benchmark::Counter::kAvgIterations);
  state.counters["fps"] = benchmark::Counter(static_cast<double>(state.iterations()) * kFrames,
                                             benchmark::Counter::kIsRate);
}

void BM_CVDECH264(benchmark::State& state, bool hevc) {
  const auto& frames = Stream(hevc);
  uint64_t pictures = 0;
  for (auto _ : state) {
    zp::CVDECH264 decoder(hevc, nullptr);
    decoder.InitDecoder(0);
    for (const auto& f : frames) {
      pictures += static_cast<uint64_t>(decoder.DecodeOneFrame(
          TypeOf(f), f.data.data(), static_cast<uint32_t>(f.data.size()), f.stampUs));
    }
    decoder.UnInit();
  }
  Report(state, pictures);
}

// The same decoder with the settings CVDECH264 gives it (two threads for HEVC, libavcodec's
// defaults otherwise), one packet in and whatever pictures are ready out, no flush at the end.
void BM_BareLibavcodec(benchmark::State& state, bool hevc) {
  const auto& frames = Stream(hevc);
  uint64_t pictures = 0;
  for (auto _ : state) {
    const AVCodec* codec = avcodec_find_decoder(hevc ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
    AVCodecContext* ctx = avcodec_alloc_context3(codec);
    if (hevc) {
      ctx->thread_count = 2;
    }
    avcodec_open2(ctx, codec, nullptr);
    AVPacket* pkt = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    for (const auto& f : frames) {
      pkt->data = const_cast<uint8_t*>(f.data.data());
      pkt->size = static_cast<int>(f.data.size());
      pkt->pts = static_cast<int64_t>(f.stampUs);
      avcodec_send_packet(ctx, pkt);
      while (avcodec_receive_frame(ctx, frame) == 0) {
        ++pictures;
        av_frame_unref(frame);
      }
    }
    av_frame_free(&frame);
    av_packet_free(&pkt);
    avcodec_free_context(&ctx);
  }
  Report(state, pictures);
}

BENCHMARK_CAPTURE(BM_CVDECH264, H264_1080p, false)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(BM_BareLibavcodec, H264_1080p, false)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(BM_CVDECH264, HEVC_1080p, true)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(BM_BareLibavcodec, HEVC_1080p, true)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

// A decoder holding one 1080p picture, for the captures.
zp::CVDECH264& PictureHolder() {
  static zp::CVDECH264* decoder = [] {
    auto* d = new zp::CVDECH264(false, nullptr);
    d->InitDecoder(0);
    zp::samples::VideoParams p;
    p.width = kWidth;
    p.height = kHeight;
    p.frames = 1;
    const auto frames = zp::samples::EncodeVideo(p);
    if (frames.empty() || d->DecodeOneFrame(zp::CVDEC::kKeyFrameType, frames[0].data.data(),
                                            static_cast<uint32_t>(frames[0].data.size()), 0) != 1) {
      std::fprintf(stderr, "no 1080p picture to capture\n");
      std::exit(1);
    }
    return d;
  }();
  return *decoder;
}

std::string CapturePath(const char* name) { return zp::platform::TempDirectory() + name; }

// Runs one capture per iteration into a fresh path and fails the benchmark unless the last one
// left a file of at least `minBytes` there.
template <typename Capture>
void TimeCapture(benchmark::State& state, const char* name, uintmax_t minBytes, Capture capture) {
  const std::string path = CapturePath(name);
  std::remove(path.c_str());
  for (auto _ : state) {
    benchmark::DoNotOptimize(capture(path.c_str()));
  }
  std::error_code error;
  const uintmax_t written = std::filesystem::file_size(path, error);
  if (error || written < minBytes) {
    state.SkipWithError("no picture file written");
  }
  std::remove(path.c_str());
}

constexpr uintmax_t kBmpBytes = 54 + uintmax_t{kWidth} * kHeight * 3;

void BM_CaptureBMP(benchmark::State& state) {
  zp::CVDECH264& decoder = PictureHolder();
  TimeCapture(state, "zephplay-bench.bmp", kBmpBytes, [&](const char* path) { return decoder.CaptureBMP(path); });
}

void BM_CaptureJPEG(benchmark::State& state) {
  zp::CVDECH264& decoder = PictureHolder();
  TimeCapture(state, "zephplay-bench.jpg", 1, [&](const char* path) { return decoder.CaptureJPEG(path); });
}

// Baseline: the bytes of a 1080p BMP written with one fwrite, nothing converted.
void BM_FwriteBmpBytes(benchmark::State& state) {
  const std::string path = CapturePath("zephplay-bench.raw");
  const std::vector<uint8_t> bytes(kBmpBytes, 0x5A);
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    const bool written = f != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    if (f == nullptr || std::fclose(f) != 0 || !written) {
      state.SkipWithError("write failed");
      break;
    }
  }
  std::remove(path.c_str());
}

BENCHMARK(BM_CaptureBMP)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CaptureJPEG)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FwriteBmpBytes)->Unit(benchmark::kMillisecond);

}  // namespace
