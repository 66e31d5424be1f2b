#pragma once
#include "audio/CAENC.h"

namespace zp {

// AMR-NB at 12.2 kbit/s (mode 7): one call encodes one 160-sample frame.
class CAENCArm : public CAENC {
 public:
  static constexpr int32_t kMode = 7;

  explicit CAENCArm(uint32_t nCoderType) : CAENC(nCoderType) {}
  ~CAENCArm() override;
  int InitEncoder() override;
  int EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) override;

 private:
  void Release();

  void* m_hHandle = nullptr;
};

}  // namespace zp
