#include "LiveStream.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "ProcessStats.h"

namespace zp::bench {

LiveStream::LiveStream(int width, int height) {
  samples::VideoParams p;
  p.width = width;
  p.height = height;
  p.frames = kGopFrames;
  p.gop = kGopFrames;
  p.preset = "veryfast";
  m_encoded = samples::EncodeVideo(p);
  if (m_encoded.size() != static_cast<size_t>(kGopFrames)) {
    std::fprintf(stderr, "bench_stream: encoding %dx%d failed\n", width, height);
    std::exit(1);
  }
  m_frames = samples::MergeFrames(m_encoded, {}, samples::kStreamAudioTag);
}

void LiveStream::Frame(uint64_t n, std::vector<uint8_t>* out) {
  samples::TaggedFrame& frame = m_frames[n % kGopFrames];
  frame.stampUs = StampUs(n);
  out->clear();
  samples::AppendFrame(frame, out);
}

int64_t LiveStream::FrameOf(uint64_t stampUs) {
  if (stampUs < kBaseUs || (stampUs - kBaseUs) % kFrameUs != 0) {
    return -1;
  }
  return static_cast<int64_t>((stampUs - kBaseUs) / kFrameUs);
}

std::vector<double> LiveStream::BareDecodeMs(int passes, double intervalSeconds) const {
  std::vector<std::vector<double>> times(kGopFrames);
  const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_H264);
  AVCodecContext* ctx = avcodec_alloc_context3(codec);
  AVPacket* pkt = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  const double start = WallSeconds();
  int sent = 0;
  if (avcodec_open2(ctx, codec, nullptr) == 0) {
    for (int pass = 0; pass < passes; ++pass) {
      for (int i = 0; i < kGopFrames; ++i) {
        const auto& f = m_encoded[i];
        const double due = start + intervalSeconds * sent++;
        if (intervalSeconds > 0 && due > WallSeconds()) {
          std::this_thread::sleep_for(std::chrono::duration<double>(due - WallSeconds()));
        }
        const double t0 = WallSeconds();
        pkt->data = const_cast<uint8_t*>(f.data.data());
        pkt->size = static_cast<int>(f.data.size());
        avcodec_send_packet(ctx, pkt);
        while (avcodec_receive_frame(ctx, frame) == 0) {
          av_frame_unref(frame);
        }
        times[i].push_back((WallSeconds() - t0) * 1e3);
      }
    }
  }
  av_frame_free(&frame);
  av_packet_free(&pkt);
  avcodec_free_context(&ctx);
  std::vector<double> medians;
  for (auto& t : times) {
    std::sort(t.begin(), t.end());
    medians.push_back(t.empty() ? 0 : t[t.size() / 2]);
  }
  return medians;
}

std::vector<uint8_t> LiveStream::Bytes(uint64_t frames) {
  std::vector<uint8_t> bytes;
  std::vector<uint8_t> one;
  for (uint64_t n = 0; n < frames; ++n) {
    Frame(n, &one);
    bytes.insert(bytes.end(), one.begin(), one.end());
  }
  return bytes;
}

}  // namespace zp::bench
