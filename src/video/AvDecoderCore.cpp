#include "video/AvDecoderCore.h"

#include "common/CAutoLock.h"

namespace zp {

bool AvDecoderCore::Open(AVCodecID id, int threads, uint32_t maxWidth, uint32_t maxHeight) {
  const AVCodec* codec = avcodec_find_decoder(id);
  if (codec == nullptr || maxWidth == 0 || maxHeight == 0 || NewContext(codec) == nullptr) {
    return false;
  }
  m_nMaxWidth = maxWidth;
  m_nMaxHeight = maxHeight;
  m_pContext->thread_count = threads;
  m_pContext->thread_type = FF_THREAD_SLICE;
  // Refuses oversized pictures before their buffers are made.
  m_pContext->max_pixels = static_cast<int64_t>(maxWidth) * maxHeight;
  return OpenContext();
}

AVCodecContext* AvDecoderCore::NewContext(const AVCodec* codec) {
  avcodec_free_context(&m_pContext);
  m_bOpen = false;
  if (m_pPacket == nullptr) {
    m_pPacket = av_packet_alloc();
  }
  if (m_pFrame == nullptr) {
    m_pFrame = av_frame_alloc();
  }
  if (m_pNext == nullptr) {
    m_pNext = av_frame_alloc();
  }
  if (m_pPacket == nullptr || m_pFrame == nullptr || m_pNext == nullptr) {
    return nullptr;
  }
  m_pContext = avcodec_alloc_context3(codec);
  return m_pContext;
}

bool AvDecoderCore::OpenContext() {
  m_bOpen = m_pContext != nullptr && avcodec_open2(m_pContext, m_pContext->codec, nullptr) == 0;
  return m_bOpen;
}

void AvDecoderCore::Close() {
  {
    CAutoLock lock(m_pHandOverLock);
    av_frame_free(&m_pFrame);
  }
  av_frame_free(&m_pNext);
  av_packet_free(&m_pPacket);
  avcodec_free_context(&m_pContext);
  m_bOpen = false;
}

int AvDecoderCore::Decode(const uint8_t* data, uint32_t size, int64_t pts, bool key) {
  if (data != nullptr && size > 0) {
    m_pPacket->data = const_cast<uint8_t*>(data);
    m_pPacket->size = static_cast<int>(size);
    m_pPacket->pts = pts;
    m_pPacket->flags = key ? AV_PKT_FLAG_KEY : 0;
    int sent = avcodec_send_packet(m_pContext, m_pPacket);
    int got = AVERROR(EAGAIN);
    if (sent == AVERROR(EAGAIN)) {
      // The decoder holds a picture it wants taken first: that one is this call's picture,
      // then the unit goes in.
      got = Receive();
      sent = avcodec_send_packet(m_pContext, m_pPacket);
    }
    m_pPacket->data = nullptr;
    m_pPacket->size = 0;
    if (!NoPictureYet(got)) {
      return got;
    }
    if (sent < 0 && sent != AVERROR(EAGAIN)) {
      return sent;
    }
  }
  return Receive();
}

int AvDecoderCore::Drain() {
  avcodec_send_packet(m_pContext, nullptr);
  return Receive();
}

int AvDecoderCore::Receive() {
  const int r = avcodec_receive_frame(m_pContext, m_pNext);
  if (r < 0) {
    return r;
  }
  if (m_nMaxWidth != 0 &&
      (static_cast<uint32_t>(m_pNext->width) > m_nMaxWidth ||
       static_cast<uint32_t>(m_pNext->height) > m_nMaxHeight ||
       (m_pNext->format != AV_PIX_FMT_YUV420P && m_pNext->format != AV_PIX_FMT_YUVJ420P))) {
    av_frame_unref(m_pNext);
    return kRefused;
  }
  // The previous picture stays valid until this one replaces it, in the same frame object.
  CAutoLock lock(m_pHandOverLock);
  av_frame_unref(m_pFrame);
  av_frame_move_ref(m_pFrame, m_pNext);
  return 1;
}

}  // namespace zp
