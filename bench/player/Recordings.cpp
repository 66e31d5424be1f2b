#include "Recordings.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <thread>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "GrecWriter.h"
#include "ProcessStats.h"
#include "StreamWriter.h"
#include "platform/TempFile.h"

namespace zp::bench {

namespace {

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "bench_player: %s\n", what);
  std::exit(1);
}

// The files written in this run, removed when the program ends.
struct WrittenFiles {
  std::map<std::pair<int, int>, std::string> byKind;
  std::string small;
  ~WrittenFiles() {
    for (const auto& [kind, path] : byKind) {
      std::remove(path.c_str());
    }
    std::remove(small.c_str());
  }
};

WrittenFiles& Files() {
  static WrittenFiles files;
  return files;
}

std::string Write(const std::string& name, std::vector<samples::TaggedFrame> frames, int repeat,
                  uint64_t repeatPeriodUs) {
  const std::string path = platform::TempDirectory() + name;
  samples::GrecOptions options;
  options.repeat = static_cast<uint32_t>(repeat);
  options.repeatPeriodUs = repeatPeriodUs;
  if (!samples::WriteGrecFile(path, frames, options).ok) {
    Fail("writing a recording failed");
  }
  return path;
}

}  // namespace

const SmallRecording& Small25fps() {
  static const SmallRecording recording = [] {
    samples::VideoParams p;
    p.frames = 75;
    p.gop = 25;
    const auto video = samples::EncodeVideo(p);
    if (video.size() != static_cast<size_t>(p.frames)) {
      Fail("encoding the small stream failed");
    }
    SmallRecording r;
    r.frames = video.size();
    r.path = Files().small = Write("zephplay-bench-small.grec", samples::MergeFrames(video, {}, samples::kFileAudioTag), 1, 0);
    return r;
  }();
  return recording;
}

const std::vector<samples::EncodedFrame>& Gop1080p() {
  static const std::vector<samples::EncodedFrame> frames = [] {
    samples::VideoParams p;
    p.width = 1920;
    p.height = 1080;
    p.frames = kGopFrames;
    p.gop = kGopFrames;
    p.bFrames = true;
    p.preset = "veryfast";
    auto encoded = samples::EncodeVideo(p);
    if (encoded.size() != static_cast<size_t>(kGopFrames)) {
      Fail("encoding the 1080p stream failed");
    }
    return encoded;
  }();
  return frames;
}

const std::string& Recording1080p(int repeat, int stampDivisor) {
  std::string& path = Files().byKind[{repeat, stampDivisor}];
  if (!path.empty()) {
    return path;
  }
  auto frames = samples::MergeFrames(Gop1080p(), {}, samples::kFileAudioTag);
  for (auto& f : frames) {
    f.stampUs /= static_cast<uint64_t>(stampDivisor);
  }
  const std::string name = "zephplay-bench-1080p-" + std::to_string(repeat) + "-" + std::to_string(stampDivisor) + ".grec";
  path = Write(name, std::move(frames), repeat, kGopUs / static_cast<uint64_t>(stampDivisor));
  return path;
}

std::vector<uint64_t> Stamps1080p(int repeat, int stampDivisor) {
  std::vector<uint64_t> stamps;
  for (int pass = 0; pass < repeat; ++pass) {
    for (const auto& f : Gop1080p()) {
      stamps.push_back((f.stampUs + static_cast<uint64_t>(pass) * kGopUs) / static_cast<uint64_t>(stampDivisor));
    }
  }
  std::sort(stamps.begin(), stamps.end());
  return stamps;
}

int BareDecode(const std::vector<samples::EncodedFrame>& frames, int repeat, uint64_t intervalUs,
               int markPictures, double* pCpuAtMark) {
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
  AVCodecContext* ctx = avcodec_alloc_context3(codec);
  AVPacket* pkt = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  int pictures = 0;
  const auto receive = [&] {
    while (avcodec_receive_frame(ctx, frame) == 0) {
      if (++pictures == markPictures && pCpuAtMark != nullptr) {
        *pCpuAtMark = ProcessCpuSeconds();
      }
      av_frame_unref(frame);
    }
  };
  const auto start = std::chrono::steady_clock::now();
  uint64_t sent = 0;
  if (avcodec_open2(ctx, codec, nullptr) == 0) {
    for (int pass = 0; pass < repeat; ++pass) {
      for (const auto& f : frames) {
        std::this_thread::sleep_until(start + std::chrono::microseconds(intervalUs * sent++));
        pkt->data = const_cast<uint8_t*>(f.data.data());
        pkt->size = static_cast<int>(f.data.size());
        pkt->pts = static_cast<int64_t>(f.stampUs + static_cast<uint64_t>(pass) * kGopUs);
        avcodec_send_packet(ctx, pkt);
        receive();
      }
    }
    avcodec_send_packet(ctx, nullptr);
    receive();
  }
  av_frame_free(&frame);
  av_packet_free(&pkt);
  avcodec_free_context(&ctx);
  return pictures;
}

}  // namespace zp::bench
