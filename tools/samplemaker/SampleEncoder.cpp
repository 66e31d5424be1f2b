#include "SampleEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numbers>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
}

namespace zp::samples {

namespace {

struct CodecContextDeleter {
  void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameDeleter {
  void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketDeleter {
  void operator()(AVPacket* p) const { av_packet_free(&p); }
};
using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

constexpr uint64_t kMicrosPerSecond = 1000000;

// The encoders' informational chatter would drown the test output; errors still get through.
// Only the library's default level is lowered, so a caller's own choice stands.
void QuietenEncoderLogs() {
  if (av_log_get_level() == AV_LOG_INFO) {
    av_log_set_level(AV_LOG_ERROR);
  }
}

bool ValidVideo(const VideoParams& p) {
  const bool size = p.width >= 32 && p.height >= 32 && p.width <= 4096 && p.height <= 2304 &&
                    p.width % 2 == 0 && p.height % 2 == 0;
  return size && p.frames > 0 && p.gop > 0 && p.fps > 0 && p.fps <= 240 && p.preset != nullptr;
}

std::string KeyIntParams(const VideoParams& p) {
  const std::string gop = std::to_string(p.gop);
  const std::string bframes = p.bFrames ? "2" : "0";
  // Fixed B-frame placement and no scene cuts: key frames fall exactly every `gop` pictures.
  return "keyint=" + gop + ":min-keyint=" + gop + ":scenecut=0:bframes=" + bframes + ":b-adapt=0";
}

CodecContextPtr OpenVideoEncoder(const VideoParams& p) {
  const char* name = p.codec == VideoCodec::H264 ? "libx264" : "libx265";
  const AVCodec* codec = avcodec_find_encoder_by_name(name);
  if (codec == nullptr) {
    std::fprintf(stderr, "samplemaker: encoder %s not available\n", name);
    return nullptr;
  }
  CodecContextPtr ctx(avcodec_alloc_context3(codec));
  if (!ctx) {
    return nullptr;
  }
  ctx->width = p.width;
  ctx->height = p.height;
  ctx->pix_fmt = AV_PIX_FMT_YUV420P;
  ctx->time_base = AVRational{1, p.fps};
  ctx->framerate = AVRational{p.fps, 1};
  ctx->gop_size = p.gop;
  ctx->max_b_frames = p.bFrames ? 2 : 0;
  ctx->thread_count = 1;  // one thread keeps the bytes identical from run to run
  av_opt_set(ctx->priv_data, "preset", p.preset, 0);
  std::string params = KeyIntParams(p);
  if (p.codec == VideoCodec::H264) {
    av_opt_set(ctx->priv_data, "x264-params", params.c_str(), 0);
  } else {
    params += ":open-gop=0:repeat-headers=1:log-level=error:frame-threads=1:pools=none";
    av_opt_set(ctx->priv_data, "x265-params", params.c_str(), 0);
  }
  if (avcodec_open2(ctx.get(), codec, nullptr) < 0) {
    std::fprintf(stderr, "samplemaker: %s does not open for %dx%d\n", name, p.width, p.height);
    return nullptr;
  }
  return ctx;
}

// Moves every packet the encoder has ready into `out`; false on an encoder error.
bool DrainVideo(AVCodecContext* ctx, AVPacket* pkt, int fps, std::vector<EncodedFrame>* out) {
  for (;;) {
    const int rc = avcodec_receive_packet(ctx, pkt);
    if (rc == AVERROR(EAGAIN) || rc == AVERROR_EOF) {
      return true;
    }
    if (rc < 0) {
      return false;
    }
    EncodedFrame frame;
    frame.data.assign(pkt->data, pkt->data + pkt->size);
    frame.stampUs = static_cast<uint64_t>(pkt->pts) * kMicrosPerSecond / static_cast<uint64_t>(fps);
    frame.key = (pkt->flags & AV_PKT_FLAG_KEY) != 0;
    out->push_back(std::move(frame));
    av_packet_unref(pkt);
  }
}

bool FillPicture(AVFrame* frame, int index, std::vector<uint8_t>* yuv) {
  if (av_frame_make_writable(frame) < 0) {
    return false;
  }
  MakePicture(index, frame->width, frame->height, yuv);
  const uint8_t* plane = yuv->data();
  for (int i = 0; i < 3; ++i) {
    const int w = i == 0 ? frame->width : frame->width / 2;
    const int h = i == 0 ? frame->height : frame->height / 2;
    for (int y = 0; y < h; ++y) {
      std::copy(plane + y * w, plane + (y + 1) * w, frame->data[i] + y * frame->linesize[i]);
    }
    plane += w * h;
  }
  frame->pts = index;
  return true;
}

// ---- audio ----

const int kAdtsRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};

int AdtsRateIndex(int rate) {
  for (int i = 0; i < 13; ++i) {
    if (kAdtsRates[i] == rate) {
      return i;
    }
  }
  return -1;
}

bool IsHisi(AudioCodec c) { return c == AudioCodec::HisiG711A || c == AudioCodec::HisiG711U; }

bool ValidAudio(const AudioParams& p) {
  if (p.frames <= 0 || p.sampleRate <= 0 || p.sampleRate > 96000 || p.channels < 1 || p.channels > 8) {
    return false;
  }
  if (p.codec == AudioCodec::AacAdts) {
    return AdtsRateIndex(p.sampleRate) >= 0 && p.channels <= 6;
  }
  if (p.samplesPerFrame <= 0 || p.samplesPerFrame > 65536) {
    return false;
  }
  // The unit's length byte counts 16-bit words of one channel's payload.
  return !IsHisi(p.codec) || (p.channels == 1 && p.samplesPerFrame % 2 == 0 && p.samplesPerFrame <= 510);
}

uint64_t SampleStamp(uint64_t sample, int rate) { return sample * kMicrosPerSecond / static_cast<uint64_t>(rate); }

void AppendAdtsHeader(const AudioParams& p, size_t payload, std::vector<uint8_t>* out) {
  const size_t length = payload + 7;
  const int rateIndex = AdtsRateIndex(p.sampleRate);
  const int profile = 1;  // AAC LC (object type 2) minus one
  const uint8_t h[7] = {
      0xFF,
      0xF1,  // MPEG-4, layer 0, no CRC
      static_cast<uint8_t>((profile << 6) | (rateIndex << 2) | ((p.channels >> 2) & 1)),
      static_cast<uint8_t>(((p.channels & 3) << 6) | ((length >> 11) & 3)),
      static_cast<uint8_t>((length >> 3) & 0xFF),
      static_cast<uint8_t>(((length & 7) << 5) | 0x1F),
      0xFC,  // buffer fullness 0x7FF (variable rate), one raw data block
  };
  out->insert(out->end(), h, h + 7);
}

std::vector<EncodedFrame> EncodeAac(const AudioParams& p) {
  const AVCodec* codec = avcodec_find_encoder_by_name("aac");
  if (codec == nullptr) {
    std::fprintf(stderr, "samplemaker: encoder aac not available\n");
    return {};
  }
  CodecContextPtr ctx(avcodec_alloc_context3(codec));
  FramePtr frame(av_frame_alloc());
  PacketPtr pkt(av_packet_alloc());
  if (!ctx || !frame || !pkt) {
    return {};
  }
  ctx->sample_fmt = AV_SAMPLE_FMT_FLTP;
  ctx->sample_rate = p.sampleRate;
  av_channel_layout_default(&ctx->ch_layout, p.channels);
  ctx->bit_rate = 48000L * p.channels;
  ctx->time_base = AVRational{1, p.sampleRate};
  if (avcodec_open2(ctx.get(), codec, nullptr) < 0) {
    std::fprintf(stderr, "samplemaker: aac does not open at %d Hz, %d channels\n", p.sampleRate, p.channels);
    return {};
  }
  const int n = ctx->frame_size;
  frame->format = AV_SAMPLE_FMT_FLTP;
  frame->sample_rate = p.sampleRate;
  frame->nb_samples = n;
  if (av_channel_layout_copy(&frame->ch_layout, &ctx->ch_layout) < 0 || av_frame_get_buffer(frame.get(), 0) < 0) {
    return {};
  }
  std::vector<EncodedFrame> out;
  std::vector<int16_t> pcm;
  // The encoder holds back its first frame, so input runs on until `frames` packets came out.
  const int maxInput = p.frames + 8;
  auto take = [&]() {
    while (static_cast<int>(out.size()) < p.frames && avcodec_receive_packet(ctx.get(), pkt.get()) == 0) {
      EncodedFrame f;
      AppendAdtsHeader(p, static_cast<size_t>(pkt->size), &f.data);
      f.data.insert(f.data.end(), pkt->data, pkt->data + pkt->size);
      f.stampUs = SampleStamp(out.size() * static_cast<uint64_t>(n), p.sampleRate);
      f.key = true;
      out.push_back(std::move(f));
      av_packet_unref(pkt.get());
    }
  };
  for (int i = 0; i < maxInput && static_cast<int>(out.size()) < p.frames; ++i) {
    if (av_frame_make_writable(frame.get()) < 0) {
      return {};
    }
    MakeSound(i * n, n, p.sampleRate, p.channels, &pcm);
    for (int c = 0; c < p.channels; ++c) {
      float* dst = reinterpret_cast<float*>(frame->data[c]);
      for (int s = 0; s < n; ++s) {
        dst[s] = static_cast<float>(pcm[static_cast<size_t>(s * p.channels + c)]) / 32768.0f;
      }
    }
    frame->pts = static_cast<int64_t>(i) * n;
    if (avcodec_send_frame(ctx.get(), frame.get()) < 0) {
      return {};
    }
    take();
  }
  avcodec_send_frame(ctx.get(), nullptr);
  take();
  if (static_cast<int>(out.size()) != p.frames) {
    return {};
  }
  return out;
}

// G.711 through libavcodec's own tables, so our decoders are checked against an outside coder.
std::vector<EncodedFrame> EncodeG711(const AudioParams& p, bool aLaw, bool hisiUnits) {
  const char* name = aLaw ? "pcm_alaw" : "pcm_mulaw";
  const AVCodec* codec = avcodec_find_encoder_by_name(name);
  CodecContextPtr ctx(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
  FramePtr frame(av_frame_alloc());
  PacketPtr pkt(av_packet_alloc());
  if (!ctx || !frame || !pkt) {
    return {};
  }
  ctx->sample_fmt = AV_SAMPLE_FMT_S16;
  ctx->sample_rate = p.sampleRate;
  av_channel_layout_default(&ctx->ch_layout, p.channels);
  ctx->time_base = AVRational{1, p.sampleRate};
  if (avcodec_open2(ctx.get(), codec, nullptr) < 0) {
    return {};
  }
  frame->format = AV_SAMPLE_FMT_S16;
  frame->sample_rate = p.sampleRate;
  frame->nb_samples = p.samplesPerFrame;
  if (av_channel_layout_copy(&frame->ch_layout, &ctx->ch_layout) < 0 || av_frame_get_buffer(frame.get(), 0) < 0) {
    return {};
  }
  std::vector<EncodedFrame> out;
  std::vector<int16_t> pcm;
  for (int i = 0; i < p.frames; ++i) {
    const uint64_t first = static_cast<uint64_t>(i) * static_cast<uint64_t>(p.samplesPerFrame);
    if (av_frame_make_writable(frame.get()) < 0) {
      return {};
    }
    MakeSound(static_cast<int>(first), p.samplesPerFrame, p.sampleRate, p.channels, &pcm);
    std::copy(pcm.begin(), pcm.end(), reinterpret_cast<int16_t*>(frame->data[0]));
    frame->pts = static_cast<int64_t>(first);
    if (avcodec_send_frame(ctx.get(), frame.get()) < 0 || avcodec_receive_packet(ctx.get(), pkt.get()) < 0) {
      return {};
    }
    EncodedFrame f;
    if (hisiUnits) {
      const uint8_t head[4] = {0x00, 0x01, static_cast<uint8_t>(p.samplesPerFrame / 2), 0x00};
      f.data.assign(head, head + 4);
    }
    f.data.insert(f.data.end(), pkt->data, pkt->data + pkt->size);
    f.stampUs = SampleStamp(first, p.sampleRate);
    f.key = true;
    out.push_back(std::move(f));
    av_packet_unref(pkt.get());
  }
  return out;
}

std::vector<EncodedFrame> EncodePcm(const AudioParams& p) {
  std::vector<EncodedFrame> out;
  std::vector<int16_t> pcm;
  for (int i = 0; i < p.frames; ++i) {
    const uint64_t first = static_cast<uint64_t>(i) * static_cast<uint64_t>(p.samplesPerFrame);
    MakeSound(static_cast<int>(first), p.samplesPerFrame, p.sampleRate, p.channels, &pcm);
    EncodedFrame f;
    f.data.resize(pcm.size() * 2);
    for (size_t s = 0; s < pcm.size(); ++s) {
      const auto v = static_cast<uint16_t>(pcm[s]);
      f.data[2 * s] = static_cast<uint8_t>(v & 0xFF);  // little-endian whatever the host
      f.data[2 * s + 1] = static_cast<uint8_t>(v >> 8);
    }
    f.stampUs = SampleStamp(first, p.sampleRate);
    f.key = true;
    out.push_back(std::move(f));
  }
  return out;
}

}  // namespace

void MakePicture(int index, int width, int height, std::vector<uint8_t>* yuv420) {
  const int cw = width / 2;
  const int ch = height / 2;
  yuv420->resize(static_cast<size_t>(width) * height + 2 * static_cast<size_t>(cw) * ch);
  uint8_t* y = yuv420->data();
  // A diagonal ramp drifting to the right, with a bright square bouncing across it: motion
  // everywhere, yet smooth enough that small pictures encode in a few hundred bytes.
  const int box = std::max(8, std::min(width, height) / 6);
  const int spanX = std::max(1, width - box);
  const int spanY = std::max(1, height - box);
  const int bx = (index * 7) % (2 * spanX) < spanX ? (index * 7) % spanX : spanX - (index * 7) % spanX;
  const int by = (index * 5) % (2 * spanY) < spanY ? (index * 5) % spanY : spanY - (index * 5) % spanY;
  for (int row = 0; row < height; ++row) {
    for (int col = 0; col < width; ++col) {
      const bool inBox = col >= bx && col < bx + box && row >= by && row < by + box;
      const int ramp = ((col + row / 2 + index * 3) & 0xFF) * 160 / 255 + 40;
      y[static_cast<size_t>(row) * width + col] = static_cast<uint8_t>(inBox ? 225 : ramp);
    }
  }
  uint8_t* u = y + static_cast<size_t>(width) * height;
  uint8_t* v = u + static_cast<size_t>(cw) * ch;
  for (int row = 0; row < ch; ++row) {
    for (int col = 0; col < cw; ++col) {
      u[static_cast<size_t>(row) * cw + col] = static_cast<uint8_t>(64 + ((col + index) & 0x7F));
      v[static_cast<size_t>(row) * cw + col] = static_cast<uint8_t>(64 + ((row + 2 * index) & 0x7F));
    }
  }
}

std::vector<EncodedFrame> EncodeVideo(const VideoParams& params) {
  if (!ValidVideo(params)) {
    std::fprintf(stderr, "samplemaker: bad video parameters\n");
    return {};
  }
  QuietenEncoderLogs();
  CodecContextPtr ctx = OpenVideoEncoder(params);
  FramePtr frame(av_frame_alloc());
  PacketPtr pkt(av_packet_alloc());
  if (!ctx || !frame || !pkt) {
    return {};
  }
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = params.width;
  frame->height = params.height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) {
    return {};
  }
  std::vector<EncodedFrame> out;
  out.reserve(static_cast<size_t>(params.frames));
  std::vector<uint8_t> yuv;
  for (int i = 0; i < params.frames; ++i) {
    if (!FillPicture(frame.get(), i, &yuv) || avcodec_send_frame(ctx.get(), frame.get()) < 0 ||
        !DrainVideo(ctx.get(), pkt.get(), params.fps, &out)) {
      return {};
    }
  }
  if (avcodec_send_frame(ctx.get(), nullptr) < 0 || !DrainVideo(ctx.get(), pkt.get(), params.fps, &out)) {
    return {};
  }
  return out;
}

void MakeSound(int startSample, int samples, int sampleRate, int channels, std::vector<int16_t>* pcm) {
  pcm->resize(static_cast<size_t>(samples > 0 ? samples : 0) * static_cast<size_t>(channels > 0 ? channels : 0));
  if (sampleRate <= 0) {
    std::fill(pcm->begin(), pcm->end(), 0);
    return;
  }
  constexpr double kTwoPi = 2.0 * std::numbers::pi;
  for (int s = 0; s < samples; ++s) {
    const double t = static_cast<double>(startSample + s) / sampleRate;
    // A tone whose loudness swells once a second, over a quieter tone an octave and a fifth up;
    // each channel a little higher than the last, so swapped channels show.
    const double swell = 0.6 + 0.4 * std::sin(kTwoPi * t);
    for (int c = 0; c < channels; ++c) {
      const double f = 440.0 * (1.0 + 0.25 * c);
      const double x = swell * std::sin(kTwoPi * f * t) * 0.45 + std::sin(kTwoPi * 3.0 * f * t) * 0.1;
      (*pcm)[static_cast<size_t>(s) * channels + c] = static_cast<int16_t>(std::lround(x * 32767.0));
    }
  }
}

int SamplesPerEncodedFrame(const AudioParams& params) {
  return params.codec == AudioCodec::AacAdts ? 1024 : params.samplesPerFrame;
}

uint32_t CoderTypeOf(const AudioParams& params) {
  static constexpr std::pair<int, uint32_t> kAacTypes[] = {{8000, 12},  {16000, 13}, {24000, 15}, {32000, 22},
                                                          {40000, 23}, {44100, 24}, {48000, 25}};
  if (params.codec == AudioCodec::AacAdts) {
    for (const auto& [rate, type] : kAacTypes) {
      if (rate == params.sampleRate) {
        return type;
      }
    }
    return 0;
  }
  if (params.channels != 1) {
    return 0;
  }
  if (params.codec == AudioCodec::Pcm16) {
    return params.sampleRate == 8000 ? 20 : (params.sampleRate == 16000 ? 21 : 0);
  }
  if (params.sampleRate != 8000) {
    return 0;
  }
  switch (params.codec) {
    case AudioCodec::G711A: return 17;
    case AudioCodec::G711U: return 18;
    case AudioCodec::HisiG711A: return 10;
    case AudioCodec::HisiG711U: return 11;
    default: return 0;
  }
}

std::vector<EncodedFrame> EncodeAudio(const AudioParams& params) {
  if (!ValidAudio(params)) {
    std::fprintf(stderr, "samplemaker: bad audio parameters\n");
    return {};
  }
  QuietenEncoderLogs();
  switch (params.codec) {
    case AudioCodec::AacAdts:
      return EncodeAac(params);
    case AudioCodec::G711A:
      return EncodeG711(params, true, false);
    case AudioCodec::G711U:
      return EncodeG711(params, false, false);
    case AudioCodec::Pcm16:
      return EncodePcm(params);
    case AudioCodec::HisiG711A:
      return EncodeG711(params, true, true);
    case AudioCodec::HisiG711U:
      return EncodeG711(params, false, true);
  }
  return {};
}

}  // namespace zp::samples
