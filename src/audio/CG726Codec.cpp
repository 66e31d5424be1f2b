#include "audio/CG726Codec.h"

#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
}

namespace zp {

CG726Codec::CG726Codec(Direction direction, int bitsPerCode, bool lsbFirst)
    : m_direction(direction), m_nBits(bitsPerCode), m_bLsbFirst(lsbFirst) {}

CG726Codec::~CG726Codec() { Close(); }

void CG726Codec::Close() {
  avcodec_free_context(&m_pContext);
  av_packet_free(&m_pPacket);
  av_frame_free(&m_pFrame);
}

bool CG726Codec::Open() {
  Close();
  if (m_nBits < 2 || m_nBits > 5) {
    return false;
  }
  const char* name = m_bLsbFirst ? "g726le" : "g726";
  const AVCodec* codec = m_direction == Direction::Decode ? avcodec_find_decoder_by_name(name)
                                                          : avcodec_find_encoder_by_name(name);
  if (codec == nullptr) {
    return false;
  }
  m_pContext = avcodec_alloc_context3(codec);
  m_pPacket = av_packet_alloc();
  m_pFrame = av_frame_alloc();
  if (m_pContext == nullptr || m_pPacket == nullptr || m_pFrame == nullptr) {
    Close();
    return false;
  }
  m_pContext->sample_rate = 8000;
  m_pContext->sample_fmt = AV_SAMPLE_FMT_S16;
  av_channel_layout_default(&m_pContext->ch_layout, 1);
  m_pContext->bits_per_coded_sample = m_nBits;
  m_pContext->bit_rate = static_cast<int64_t>(m_nBits) * 8000;
  if (avcodec_open2(m_pContext, codec, nullptr) < 0) {
    Close();
    return false;
  }
  if (m_direction == Direction::Encode) {
    m_pFrame->format = AV_SAMPLE_FMT_S16;
    m_pFrame->nb_samples = kMaxEncodeSamples;
    av_channel_layout_default(&m_pFrame->ch_layout, 1);
    if (av_frame_get_buffer(m_pFrame, 0) < 0) {
      Close();
      return false;
    }
  }
  return true;
}

void CG726Codec::Reset() {
  if (m_pContext != nullptr) {
    avcodec_flush_buffers(m_pContext);
  }
}

int CG726Codec::Decode(const uint8_t* codes, int len, int16_t* out, int maxSamples) {
  if (m_pContext == nullptr || m_direction != Direction::Decode || len <= 0) {
    return -1;
  }
  if (len * 8 / m_nBits > maxSamples) {
    return -1;
  }
  // A packet that does not own its data: libavcodec copies it into a padded buffer of its own.
  m_pPacket->data = const_cast<uint8_t*>(codes);
  m_pPacket->size = len;
  const int sent = avcodec_send_packet(m_pContext, m_pPacket);
  av_packet_unref(m_pPacket);
  if (sent < 0) {
    return -1;
  }
  int total = 0;
  while (avcodec_receive_frame(m_pContext, m_pFrame) == 0) {
    const int n = m_pFrame->nb_samples;
    if (total + n <= maxSamples) {
      std::memcpy(out + total, m_pFrame->data[0], static_cast<size_t>(n) * sizeof(int16_t));
      total += n;
    }
    av_frame_unref(m_pFrame);
  }
  return total;
}

int CG726Codec::Encode(const int16_t* in, int n, uint8_t* codes, int capacity) {
  if (m_pContext == nullptr || m_direction != Direction::Encode || n <= 0 || n > kMaxEncodeSamples ||
      (n * m_nBits) % 8 != 0 || n * m_nBits / 8 > capacity) {
    return -1;
  }
  if (av_frame_make_writable(m_pFrame) < 0) {
    return -1;
  }
  std::memcpy(m_pFrame->data[0], in, static_cast<size_t>(n) * sizeof(int16_t));
  m_pFrame->nb_samples = n;
  // Each unit is coded on its own, so the frame size follows the unit; a frame shorter than
  // frame_size would otherwise be taken for the last one of the stream.
  m_pContext->frame_size = n;
  if (avcodec_send_frame(m_pContext, m_pFrame) < 0) {
    return -1;
  }
  int written = -1;
  if (avcodec_receive_packet(m_pContext, m_pPacket) == 0) {
    if (m_pPacket->size <= capacity) {
      std::memcpy(codes, m_pPacket->data, static_cast<size_t>(m_pPacket->size));
      written = m_pPacket->size;
    }
    av_packet_unref(m_pPacket);
  }
  return written;
}

}  // namespace zp
