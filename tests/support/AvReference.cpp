#include "AvReference.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace zp::test {
namespace {

void CopyPlane(const uint8_t* src, int stride, int w, int h, std::vector<uint8_t>* out) {
  out->resize(static_cast<size_t>(w) * h);
  for (int r = 0; r < h; ++r) {
    std::memcpy(out->data() + static_cast<size_t>(r) * w, src + static_cast<ptrdiff_t>(r) * stride,
                static_cast<size_t>(w));
  }
}

}  // namespace

Picture PackPicture(const uint8_t* y, const uint8_t* u, const uint8_t* v, int yStride, int uvStride,
                    int width, int height) {
  Picture p;
  p.width = width;
  p.height = height;
  CopyPlane(y, yStride, width, height, &p.y);
  CopyPlane(u, uvStride, (width + 1) / 2, (height + 1) / 2, &p.u);
  CopyPlane(v, uvStride, (width + 1) / 2, (height + 1) / 2, &p.v);
  return p;
}

AvDecoder::AvDecoder(const char* name, const AvOptions& options)
    : frame_(av_frame_alloc()), packet_(av_packet_alloc()) {
  const AVCodec* codec = avcodec_find_decoder_by_name(name);
  if (codec == nullptr) {
    return;
  }
  ctx_ = avcodec_alloc_context3(codec);
  if (codec->type == AVMEDIA_TYPE_AUDIO) {
    ctx_->sample_rate = options.sampleRate;
    av_channel_layout_default(&ctx_->ch_layout, options.channels);
    ctx_->block_align = options.blockAlign;
    ctx_->bits_per_coded_sample = options.bitsPerCodedSample;
    ctx_->bit_rate = options.bitRate;
  }
  if (avcodec_open2(ctx_, codec, nullptr) < 0) {
    avcodec_free_context(&ctx_);
  }
}

AvDecoder::~AvDecoder() {
  avcodec_free_context(&ctx_);
  av_frame_free(&frame_);
  av_packet_free(&packet_);
}

bool AvDecoder::Send(const uint8_t* data, size_t size, int64_t pts) {
  if (data == nullptr) {
    return avcodec_send_packet(ctx_, nullptr) >= 0;
  }
  // A packet of its own carries the zeroed padding libavcodec's readers may touch.
  if (av_new_packet(packet_, static_cast<int>(size)) < 0) {
    return false;
  }
  std::memcpy(packet_->data, data, size);
  packet_->pts = pts;
  const int sent = avcodec_send_packet(ctx_, packet_);
  av_packet_unref(packet_);
  return sent >= 0;
}

bool AvDecoder::Decode(const uint8_t* data, size_t size, std::vector<int16_t>* out) {
  if (!Send(data, size, 0)) {
    return false;
  }
  while (avcodec_receive_frame(ctx_, frame_) == 0) {
    CollectSound(out);
    av_frame_unref(frame_);
  }
  return true;
}

bool AvDecoder::DecodePictures(const uint8_t* data, size_t size, int64_t pts, std::vector<Picture>* out) {
  if (!Send(data, size, pts)) {
    return false;
  }
  while (avcodec_receive_frame(ctx_, frame_) == 0) {
    Picture p = PackPicture(frame_->data[0], frame_->data[1], frame_->data[2], frame_->linesize[0],
                            frame_->linesize[1], frame_->width, frame_->height);
    p.key = frame_->key_frame != 0;
    p.pts = frame_->pts;
    out->push_back(std::move(p));
    av_frame_unref(frame_);
  }
  return true;
}

int64_t AvDecoder::DecodeBare(const uint8_t* data, size_t size) {
  packet_->data = const_cast<uint8_t*>(data);
  packet_->size = static_cast<int>(size);
  int64_t samples = 0;
  if (avcodec_send_packet(ctx_, packet_) == 0) {
    while (avcodec_receive_frame(ctx_, frame_) == 0) {
      samples += frame_->nb_samples;
      av_frame_unref(frame_);
    }
  }
  packet_->data = nullptr;
  packet_->size = 0;
  return samples;
}

void AvDecoder::CollectSound(std::vector<int16_t>* out) {
  const int ch = frame_->ch_layout.nb_channels;
  channels_ = ch;
  rate_ = frame_->sample_rate;
  const auto fmt = static_cast<AVSampleFormat>(frame_->format);
  const AVSampleFormat packed = av_get_packed_sample_fmt(fmt);
  if (packed != AV_SAMPLE_FMT_S16 && packed != AV_SAMPLE_FMT_FLT) {
    return;
  }
  const bool planar = av_sample_fmt_is_planar(fmt) != 0;
  for (int s = 0; s < frame_->nb_samples; ++s) {
    for (int c = 0; c < ch; ++c) {
      const uint8_t* plane = frame_->data[planar ? c : 0];
      const int i = planar ? s : s * ch + c;
      const float f = packed == AV_SAMPLE_FMT_S16 ? reinterpret_cast<const int16_t*>(plane)[i]
                                                  : std::nearbyint(reinterpret_cast<const float*>(plane)[i] * 32768.0f);
      out->push_back(static_cast<int16_t>(std::clamp(f, -32768.0f, 32767.0f)));
    }
  }
}

std::vector<std::vector<uint8_t>> AvEncode(const char* name, const std::vector<int16_t>& pcm, int rate,
                                           int channels, int64_t bitRate, int packetSamples) {
  std::vector<std::vector<uint8_t>> packets;
  const AVCodec* codec = avcodec_find_encoder_by_name(name);
  if (codec == nullptr) {
    return packets;
  }
  AVCodecContext* ctx = avcodec_alloc_context3(codec);
  ctx->sample_rate = rate;
  av_channel_layout_default(&ctx->ch_layout, channels);
  ctx->bit_rate = bitRate;
  ctx->sample_fmt = codec->sample_fmts[0];
  const AVSampleFormat packed = av_get_packed_sample_fmt(ctx->sample_fmt);
  if ((packed != AV_SAMPLE_FMT_FLT && packed != AV_SAMPLE_FMT_S16) || avcodec_open2(ctx, codec, nullptr) < 0) {
    avcodec_free_context(&ctx);
    return packets;
  }
  if (packetSamples > 0) {
    ctx->frame_size = packetSamples;
  }
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
  const bool planar = av_sample_fmt_is_planar(ctx->sample_fmt) != 0;
  const int frameSize = ctx->frame_size > 0 ? ctx->frame_size : 1024;
  auto drain = [&]() {
    while (avcodec_receive_packet(ctx, packet) == 0) {
      packets.emplace_back(packet->data, packet->data + packet->size);
      av_packet_unref(packet);
    }
  };
  for (size_t pos = 0; pos + frameSize <= pcm.size() / channels; pos += frameSize) {
    frame->format = ctx->sample_fmt;
    frame->nb_samples = frameSize;
    av_channel_layout_copy(&frame->ch_layout, &ctx->ch_layout);
    frame->sample_rate = rate;
    av_frame_get_buffer(frame, 0);
    for (int s = 0; s < frameSize; ++s) {
      for (int c = 0; c < channels; ++c) {
        const int16_t sample = pcm[(pos + s) * channels + c];
        const size_t at = planar ? s : static_cast<size_t>(s) * channels + c;
        if (packed == AV_SAMPLE_FMT_S16) {
          reinterpret_cast<int16_t*>(frame->data[planar ? c : 0])[at] = sample;
        } else {
          reinterpret_cast<float*>(frame->data[planar ? c : 0])[at] = sample / 32768.0f;
        }
      }
    }
    frame->pts = static_cast<int64_t>(pos);
    avcodec_send_frame(ctx, frame);
    av_frame_unref(frame);
    drain();
  }
  avcodec_send_frame(ctx, nullptr);
  drain();
  av_frame_free(&frame);
  av_packet_free(&packet);
  avcodec_free_context(&ctx);
  return packets;
}

double SnrDb(const int16_t* reference, const int16_t* test, size_t n) {
  double signal = 0;
  double noise = 0;
  for (size_t i = 0; i < n; ++i) {
    signal += static_cast<double>(reference[i]) * reference[i];
    const double d = static_cast<double>(reference[i]) - test[i];
    noise += d * d;
  }
  if (noise == 0) {
    return 200.0;
  }
  return 10.0 * std::log10(signal / noise);
}

double PsnrDb(const uint8_t* a, const uint8_t* b, size_t n) {
  double squares = 0;
  for (size_t i = 0; i < n; ++i) {
    const double d = static_cast<double>(a[i]) - b[i];
    squares += d * d;
  }
  return squares == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(n) / squares);
}

}  // namespace zp::test
