#pragma once
#include <cstdint>

namespace zp {

// Where a decoder's current picture comes from; the native record is kept by reference.
enum PictureKind : uint32_t {
  kPictureNone = 0,
  kPictureAvFrame = 1,     // an AVFrame of CVDECH264
  kPictureIhw265d = 2,     // an IHW265D_OUTARGS of CVDECHi265
  kPictureHi264 = 3,       // an HI264DEC_FRAME of CVDECHis
};

// One picture described the same way whatever decoder made it. The planes belong to the
// decoder and stay valid until its next DecodeOneFrame or UnInit.
struct PictureInfo {
  uint32_t nKey = 0;
  uint32_t nWidth = 0;
  uint32_t nHeight = 0;
  const uint8_t* pY = nullptr;
  uint32_t nYStride = 0;
  const uint8_t* pU = nullptr;
  const uint8_t* pV = nullptr;
  uint32_t nUVStride = 0;
  uint64_t u64Stamp = 0;  // microseconds
};

}  // namespace zp
