#pragma once
#include "audio/CADEC.h"

namespace zp {

// Raw 16-bit PCM, mono: 8000 Hz (coder type 20) or 16000 Hz (21).
class CADECPcm : public CADEC {
 public:
  explicit CADECPcm(uint32_t nCoderType);
  int InitDecoder(uint32_t nFrmLen) override;
  int ReleaseDecoder() override { return 1; }
  int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) override;
  int GetOutSize() override { return 5120; }
};

}  // namespace zp
