#pragma once
#include "audio/CAENC.h"

namespace zp {

// Raw 16-bit PCM (coder types 20 and 21): the input passes through.
class CAENPcm : public CAENC {
 public:
  explicit CAENPcm(uint32_t nCoderType) : CAENC(nCoderType) {}
  int InitEncoder() override { return 1; }
  int EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) override;
};

}  // namespace zp
