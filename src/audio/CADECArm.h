#pragma once
#include "audio/CADEC.h"

namespace zp {

// AMR-NB (coder type 14) through the library's own AMR_ functions.
class CADECArm : public CADEC {
 public:
  explicit CADECArm(uint32_t nCoderType);
  ~CADECArm() override;
  int InitDecoder(uint32_t nFrmLen) override;
  int ReleaseDecoder() override;
  int DecoderFrame(const uint8_t* in, int32_t len, int16_t* out, uint16_t* outLen) override;

 private:
  void* m_hAmr = nullptr;
};

}  // namespace zp
