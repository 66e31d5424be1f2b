#include "video/AvDecoderCore.h"

#include <utility>

namespace zp {

AvDecoderCore::~AvDecoderCore() {
  av_frame_free(&m_pFrame);
  av_frame_free(&m_pNext);
  av_packet_free(&m_pPacket);
  avcodec_free_context(&m_pContext);
}

bool AvDecoderCore::Open(AVCodecID id, int threads, uint32_t maxWidth, uint32_t maxHeight) {
  const AVCodec* codec = avcodec_find_decoder(id);
  if (codec == nullptr || maxWidth == 0 || maxHeight == 0) {
    return false;
  }
  m_pContext = avcodec_alloc_context3(codec);
  m_pPacket = av_packet_alloc();
  m_pFrame = av_frame_alloc();
  m_pNext = av_frame_alloc();
  if (m_pContext == nullptr || m_pPacket == nullptr || m_pFrame == nullptr || m_pNext == nullptr) {
    return false;
  }
  m_nMaxWidth = maxWidth;
  m_nMaxHeight = maxHeight;
  m_pContext->thread_count = threads;
  m_pContext->thread_type = FF_THREAD_SLICE;
  // Refuses oversized pictures before their buffers are made.
  m_pContext->max_pixels = static_cast<int64_t>(maxWidth) * maxHeight;
  return avcodec_open2(m_pContext, codec, nullptr) == 0;
}

int AvDecoderCore::Decode(const uint8_t* data, uint32_t size, int64_t pts) {
  if (data != nullptr && size > 0) {
    m_pPacket->data = const_cast<uint8_t*>(data);
    m_pPacket->size = static_cast<int>(size);
    m_pPacket->pts = pts;
    int sent = avcodec_send_packet(m_pContext, m_pPacket);
    if (sent == AVERROR(EAGAIN)) {
      // The decoder holds a picture it wants taken first: take it, then the unit goes in.
      const int got = Receive();
      sent = avcodec_send_packet(m_pContext, m_pPacket);
      m_pPacket->data = nullptr;
      m_pPacket->size = 0;
      if (got != 0) {
        return got;
      }
    }
    m_pPacket->data = nullptr;
    m_pPacket->size = 0;
    if (sent < 0 && sent != AVERROR(EAGAIN)) {
      return -1;
    }
  }
  return Receive();
}

int AvDecoderCore::Receive() {
  const int r = avcodec_receive_frame(m_pContext, m_pNext);
  if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) {
    return 0;
  }
  if (r < 0) {
    return -1;
  }
  if (static_cast<uint32_t>(m_pNext->width) > m_nMaxWidth ||
      static_cast<uint32_t>(m_pNext->height) > m_nMaxHeight ||
      (m_pNext->format != AV_PIX_FMT_YUV420P && m_pNext->format != AV_PIX_FMT_YUVJ420P)) {
    av_frame_unref(m_pNext);
    return -2;
  }
  // The previous picture stays valid until this one replaces it.
  av_frame_unref(m_pFrame);
  std::swap(m_pFrame, m_pNext);
  return 1;
}

}  // namespace zp
