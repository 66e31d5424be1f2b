#pragma once
#include "audio/CAENC.h"

struct AVCodec;
struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace zp {

// AAC-LC, mono, over libavcodec's native encoder: 1024-sample frames gathered in a 2048-byte
// buffer across calls, each frame's output at most 768 bytes, raw or behind our own 7-byte ADTS
// header. The encoder looks one frame ahead: the first frame's output comes with the second.
class CAENCAac : public CAENC {
 public:
  static constexpr uint32_t kFrameSamples = 1024;
  static constexpr uint32_t kOutBufferSize = 768;
  static constexpr uint32_t kAdtsHeaderSize = 7;

  explicit CAENCAac(uint32_t nCoderType) : CAENC(nCoderType) {}
  ~CAENCAac() override;
  int InitEncoder() override;
  int EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) override;
  int DrainFrame(uint8_t* out, uint32_t* outLen) override;

 private:
  void Release();
  bool OpenCodec(uint32_t rate);
  // Opens the codec with the owner's tuning.
  bool OpenTuned(const AVCodec* codec);
  // Encodes the full accumulation buffer and appends what comes out at out.
  void EncAac(uint8_t* out, uint32_t* outLen);
  // Appends the encoder's next unit at out; false when it has none ready.
  bool ReceiveUnit(uint8_t* out, uint32_t* outLen);
  void WriteAdtsHeader(uint32_t payload);

  AVCodecContext* m_hEncoder = nullptr;
  AVFrame* m_pFrame = nullptr;
  AVPacket* m_pPacket = nullptr;
  std::unique_ptr<uint8_t[]> m_pOutBuffer;
  uint32_t m_nOutBufferSize = 0;
  uint32_t m_nInputFrameLen = 0;
  int64_t m_nNextPts = 0;
  uint8_t m_nRateIndex = 0;
  bool m_bDraining = false;
};

}  // namespace zp
