#pragma once
// A bare libavcodec audio decoder and encoder: the outside judges of our audio decoders.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace zp::test {

struct AvOptions {
  int sampleRate = 8000;
  int channels = 1;
  int blockAlign = 0;
  int bitsPerCodedSample = 0;
  int64_t bitRate = 0;
};

// Decodes packets to interleaved 16-bit samples (float output scaled by 32768 and rounded).
class AvAudioDecoder {
 public:
  AvAudioDecoder(const char* name, const AvOptions& options) {
    const AVCodec* codec = avcodec_find_decoder_by_name(name);
    if (codec == nullptr) {
      return;
    }
    ctx_ = avcodec_alloc_context3(codec);
    ctx_->sample_rate = options.sampleRate;
    av_channel_layout_default(&ctx_->ch_layout, options.channels);
    ctx_->block_align = options.blockAlign;
    ctx_->bits_per_coded_sample = options.bitsPerCodedSample;
    ctx_->bit_rate = options.bitRate;
    if (avcodec_open2(ctx_, codec, nullptr) < 0) {
      avcodec_free_context(&ctx_);
    }
    frame_ = av_frame_alloc();
    packet_ = av_packet_alloc();
  }
  ~AvAudioDecoder() {
    avcodec_free_context(&ctx_);
    av_frame_free(&frame_);
    av_packet_free(&packet_);
  }
  bool ok() const { return ctx_ != nullptr; }
  int channels() const { return channels_; }
  int sampleRate() const { return rate_; }

  // Appends what one packet decodes to; false on a decoder error.
  bool Decode(const uint8_t* data, size_t size, std::vector<int16_t>* out) {
    if (av_new_packet(packet_, static_cast<int>(size)) < 0) {
      return false;
    }
    std::memcpy(packet_->data, data, size);
    const int sent = avcodec_send_packet(ctx_, packet_);
    av_packet_unref(packet_);
    if (sent < 0) {
      return false;
    }
    while (avcodec_receive_frame(ctx_, frame_) == 0) {
      Collect(out);
      av_frame_unref(frame_);
    }
    return true;
  }

  // Decodes the packets given with the same codec in a bare loop (no copy out): the baseline
  // of the benchmarks.
  int64_t DecodeBare(const uint8_t* data, size_t size) {
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

 private:
  static int16_t FromFloat(float v) {
    const float s = std::nearbyint(v * 32768.0f);
    return static_cast<int16_t>(s > 32767.0f ? 32767.0f : (s < -32768.0f ? -32768.0f : s));
  }

  void Collect(std::vector<int16_t>* out) {
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
        out->push_back(packed == AV_SAMPLE_FMT_S16 ? reinterpret_cast<const int16_t*>(plane)[i]
                                                   : FromFloat(reinterpret_cast<const float*>(plane)[i]));
      }
    }
  }

  AVCodecContext* ctx_ = nullptr;
  AVFrame* frame_ = nullptr;
  AVPacket* packet_ = nullptr;
  int channels_ = 0;
  int rate_ = 0;
};

// Encodes 16-bit sound into packets with an encoder that takes float samples (the encoder's
// own frame size).
inline std::vector<std::vector<uint8_t>> AvEncode(const char* name, const std::vector<int16_t>& pcm, int rate,
                                                  int channels, int64_t bitRate) {
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
  if (av_get_packed_sample_fmt(ctx->sample_fmt) != AV_SAMPLE_FMT_FLT || avcodec_open2(ctx, codec, nullptr) < 0) {
    avcodec_free_context(&ctx);
    return packets;
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
        reinterpret_cast<float*>(frame->data[planar ? c : 0])[planar ? s : s * channels + c] =
            pcm[(pos + s) * channels + c] / 32768.0f;
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

// Signal-to-noise ratio of test against reference in dB (over the common length).
inline double SnrDb(const int16_t* reference, const int16_t* test, size_t n) {
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

}  // namespace zp::test
