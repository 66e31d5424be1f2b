#pragma once
#include "audio/CAENC.h"

namespace zp {

// G.711 (ITU-T tables): one byte per sample; mu-law for coder type 18, A-law for 17 and any
// other type.
class CAENG711 : public CAENC {
 public:
  explicit CAENG711(uint32_t nCoderType) : CAENC(nCoderType) {}
  int InitEncoder() override { return 1; }
  int EncoderFrame(const uint8_t* in, uint32_t inLen, uint8_t* out, uint32_t* outLen) override;
};

}  // namespace zp
