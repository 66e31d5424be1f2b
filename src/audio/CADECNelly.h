#pragma once
#include "audio/CADEC.h"

struct AVCodecContext;
struct AVPacket;
struct AVFrame;

namespace zp {

// Nellymoser (coder type 19), 64-byte blocks of 256 samples, over libavcodec's decoder.
class CADECNelly : public CADEC {
 public:
  static constexpr int kBlockBytes = 64;
  static constexpr int kBlockSamples = 256;

  explicit CADECNelly(uint32_t nCoderType);
  ~CADECNelly() override;
  int InitDecoder(uint32_t nFrmLen) override;
  int ReleaseDecoder() override;
  int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) override;
  int GetOutSize() override { return 2048; }

 private:
  bool DecodeBlock(const uint8_t* in);

  AVCodecContext* m_pState = nullptr;
  AVPacket* m_pPacket = nullptr;
  AVFrame* m_pFrame = nullptr;
  float m_fWork[kBlockSamples] = {};
};

}  // namespace zp
