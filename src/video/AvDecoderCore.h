#pragma once
// The one libavcodec decode loop of the video decoders: one context, one packet and one frame;
// send one access unit, take at most one picture. CVDECH264 sets its context up itself; the
// IHW265D- and Hi264Dec-shaped adapters take the ready-made Open.
#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "common/CMutexLock.h"

namespace zp {

class AvDecoderCore {
 public:
  // Decode's answer for a picture above the maximum size or not 8-bit 4:2:0.
  static constexpr int kRefused = FFERRTAG('Z', 'R', 'E', 'F');

  AvDecoderCore() = default;
  ~AvDecoderCore() { Close(); }
  AvDecoderCore(const AvDecoderCore&) = delete;
  AvDecoderCore& operator=(const AvDecoderCore&) = delete;

  // Whether a Decode or Drain result means only that no picture is ready yet.
  static bool NoPictureYet(int result) {
    return result == AVERROR(EAGAIN) || result == AVERROR_EOF;
  }

  // For the adapters. threads 1: one thread; 0: slice threads chosen by libavcodec (no added
  // picture delay). Pictures above maxWidth x maxHeight or not 8-bit 4:2:0 are refused.
  bool Open(AVCodecID id, int threads, uint32_t maxWidth, uint32_t maxHeight);
  // A fresh context for codec, not yet open, in place of the current one (the last picture
  // stays); the owner sets it up, then calls OpenContext. Null when out of memory.
  AVCodecContext* NewContext(const AVCodec* codec);
  bool OpenContext();
  // Frees the context, the packet and the pictures.
  void Close();
  AVCodecContext* Context() const { return m_pContext; }
  bool IsOpen() const { return m_bOpen; }
  // The lock that readers of Frame() on other threads hold: the last picture is replaced under it.
  void SetHandOverLock(CMutexLock* pLock) { m_pHandOverLock = pLock; }

  // Sends data (null or 0 bytes: nothing) and takes one picture. 1: a picture in Frame();
  // otherwise the libavcodec result that ended the call (see NoPictureYet), or kRefused. The
  // last picture stays in Frame() until a new one replaces it.
  int Decode(const uint8_t* data, uint32_t size, int64_t pts, bool key = false);
  // Ends the stream and takes one picture still held (reordering delay); as Decode.
  int Drain();
  // The last picture; the object stays the same for the life of the core.
  const AVFrame* Frame() const { return m_pFrame; }

 private:
  int Receive();

  AVCodecContext* m_pContext = nullptr;
  AVPacket* m_pPacket = nullptr;
  AVFrame* m_pFrame = nullptr;   // the last picture put out
  AVFrame* m_pNext = nullptr;    // where the next one is received
  CMutexLock* m_pHandOverLock = nullptr;
  bool m_bOpen = false;
  uint32_t m_nMaxWidth = 0;      // 0: no limit and any format
  uint32_t m_nMaxHeight = 0;
};

}  // namespace zp
