#pragma once
#include "audio/CADEC.h"

namespace zp {

// ITU-T G.711 A-law (coder type 17) and mu-law (18): one sample per byte.
class CADECG711 : public CADEC {
 public:
  // Recorders send G.711 in whole 10 ms pieces of this many bytes.
  static constexpr uint32_t kStepBytes = 80;

  explicit CADECG711(uint32_t nCoderType);
  int InitDecoder(uint32_t nFrmLen) override;
  int ReleaseDecoder() override { return 1; }
  int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) override;
  int GetOutSize() override { return 1920; }
};

}  // namespace zp
