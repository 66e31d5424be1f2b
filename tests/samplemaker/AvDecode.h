#pragma once
// A bare libavcodec decoder: the outside judge of what the sample maker encodes.
#include <cstdint>
#include <memory>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace zp::samples::test {

struct DecodedPicture {
  int width = 0;
  int height = 0;
  bool key = false;
  int64_t pts = 0;
  std::vector<uint8_t> luma;  // width x height, rows packed
};

struct DecodedSound {
  int frames = 0;       // decoded frames
  int channels = 0;
  int sampleRate = 0;
  std::vector<float> samples;  // interleaved, -1..1
};

class AvDecoder {
 public:
  // Raw audio codecs (G.711) need their rate and channels given; the others read them from the data.
  explicit AvDecoder(const char* name, int sampleRate = 0, int channels = 0) {
    const AVCodec* codec = avcodec_find_decoder_by_name(name);
    if (codec == nullptr) {
      return;
    }
    ctx_.reset(avcodec_alloc_context3(codec));
    if (ctx_ && channels > 0) {
      ctx_->sample_rate = sampleRate;
      av_channel_layout_default(&ctx_->ch_layout, channels);
    }
    if (ctx_ && avcodec_open2(ctx_.get(), codec, nullptr) < 0) {
      ctx_.reset();
    }
  }
  bool ok() const { return ctx_ != nullptr; }

  // Sends one packet (nullptr/0 to flush); collects what comes out. False on a decoder error.
  bool Video(const uint8_t* data, size_t size, int64_t pts, std::vector<DecodedPicture>* out) {
    if (!Send(data, size, pts)) {
      return false;
    }
    while (avcodec_receive_frame(ctx_.get(), frame_.get()) == 0) {
      DecodedPicture pic;
      pic.width = frame_->width;
      pic.height = frame_->height;
      pic.key = frame_->key_frame != 0;
      pic.pts = frame_->pts;
      for (int y = 0; y < frame_->height; ++y) {
        const uint8_t* row = frame_->data[0] + static_cast<ptrdiff_t>(y) * frame_->linesize[0];
        pic.luma.insert(pic.luma.end(), row, row + frame_->width);
      }
      out->push_back(std::move(pic));
      av_frame_unref(frame_.get());
    }
    return true;
  }

  bool Audio(const uint8_t* data, size_t size, DecodedSound* out) {
    if (!Send(data, size, 0)) {
      return false;
    }
    while (avcodec_receive_frame(ctx_.get(), frame_.get()) == 0) {
      const int ch = frame_->ch_layout.nb_channels;
      out->frames++;
      out->channels = ch;
      out->sampleRate = frame_->sample_rate;
      for (int s = 0; s < frame_->nb_samples; ++s) {
        for (int c = 0; c < ch; ++c) {
          out->samples.push_back(Sample(c, s, ch));
        }
      }
      av_frame_unref(frame_.get());
    }
    return true;
  }

 private:
  // libavcodec's free functions take the address of the pointer.
  template <auto Free>
  struct Del {
    template <class T>
    void operator()(T* p) const {
      Free(&p);
    }
  };

  bool Send(const uint8_t* data, size_t size, int64_t pts) {
    if (data == nullptr) {
      return avcodec_send_packet(ctx_.get(), nullptr) >= 0;
    }
    if (av_new_packet(pkt_.get(), static_cast<int>(size)) < 0) {
      return false;
    }
    std::copy(data, data + size, pkt_->data);
    pkt_->pts = pts;
    const int rc = avcodec_send_packet(ctx_.get(), pkt_.get());
    av_packet_unref(pkt_.get());
    return rc >= 0;
  }

  float Sample(int c, int s, int ch) const {
    switch (frame_->format) {
      case AV_SAMPLE_FMT_FLTP:
        return reinterpret_cast<const float*>(frame_->data[c])[s];
      case AV_SAMPLE_FMT_S16:
        return reinterpret_cast<const int16_t*>(frame_->data[0])[s * ch + c] / 32768.0f;
      default:
        return 0.0f;
    }
  }

  std::unique_ptr<AVCodecContext, Del<avcodec_free_context>> ctx_;
  std::unique_ptr<AVFrame, Del<av_frame_free>> frame_{av_frame_alloc()};
  std::unique_ptr<AVPacket, Del<av_packet_free>> pkt_{av_packet_alloc()};
};

}  // namespace zp::samples::test
