#pragma once
// The libavcodec part shared by the IHW265D- and Hi264Dec-shaped decoders: one decoder context,
// one packet and one frame, send one access unit, take at most one picture.
#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace zp {

class AvDecoderCore {
 public:
  AvDecoderCore() = default;
  ~AvDecoderCore();
  AvDecoderCore(const AvDecoderCore&) = delete;
  AvDecoderCore& operator=(const AvDecoderCore&) = delete;

  // threads 1: one thread; 0: slice threads chosen by libavcodec (no added picture delay).
  bool Open(AVCodecID id, int threads, uint32_t maxWidth, uint32_t maxHeight);
  // Sends data (null or 0 bytes: nothing) and takes one picture. 1: picture in Frame();
  // 0: none yet (the last picture stays in Frame()); -1: a decoding error; -2: the picture exceeds the maximum size
  // or is not 8-bit 4:2:0.
  int Decode(const uint8_t* data, uint32_t size, int64_t pts);
  const AVFrame* Frame() const { return m_pFrame; }

 private:
  int Receive();

  AVCodecContext* m_pContext = nullptr;
  AVPacket* m_pPacket = nullptr;
  AVFrame* m_pFrame = nullptr;   // the last picture put out
  AVFrame* m_pNext = nullptr;    // where the next one is received
  uint32_t m_nMaxWidth = 0;
  uint32_t m_nMaxHeight = 0;
};

}  // namespace zp
