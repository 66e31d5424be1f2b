#pragma once
#include "video/CVDEC.h"
#include "video/Hi264Dec.h"

namespace zp {

// H.264 through the Hi264Dec-shaped decoder: each frame is decoded, then the decoder is drained
// with empty calls; every picture that comes out is delivered, so one frame may give several.
// The largest picture depends on the picture class: 1080P 128 x 72 macroblocks, 720P 88 x 52,
// any other 48 x 40 (D1 and below); larger pictures are refused.
class CVDECHis : public CVDEC {
 public:
  CVDECHis() = default;
  ~CVDECHis() override;

  uint32_t InitDecoder(uint32_t nFlag) override;
  // 1 when at least one picture came out.
  int DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                     uint64_t u64Stamp) override;

  // The macroblock limits for a picture class.
  static void LimitsFor(uint8_t nClass, uint32_t* pWidthMB, uint32_t* pHeightMB);

 private:
  void FreeCodec() override;
  int32_t DecodeLocked(const uint8_t* pData, uint32_t nLength);
  void Deliver(uint64_t u64Stamp);

  HI264DEC_HANDLE m_hDecoder = nullptr;
  HI264DEC_FRAME m_outFrame{};   // what the last call put out
  HI264DEC_FRAME m_picture{};    // the current picture
};

}  // namespace zp
