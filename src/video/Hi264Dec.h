#pragma once
// An H.264 decoder with the Hi264Dec call shape: create with attributes that limit the picture
// size in macroblocks, decode a chunk of stream, then call again with no data to drain the
// pictures still inside. It runs over libavcodec's H.264 decoder; a picture larger than the
// limits is refused.
#include <cstdint>

namespace zp {

using HI264DEC_HANDLE = struct Hi264Dec_Core*;

struct HI264DEC_ATTR {
  uint32_t uPictureFormat;   // 0: YUV 4:2:0 planar
  uint32_t uStreamInType;    // 0: access units
  uint32_t uPicWidthInMB;
  uint32_t uPicHeightInMB;
  uint32_t uBufNum;
  uint32_t uWorkMode;        // 0: one thread
  void* pUserData;
};

struct HI264DEC_FRAME {
  const uint8_t* pY;
  const uint8_t* pU;
  const uint8_t* pV;
  uint32_t uWidth;
  uint32_t uHeight;
  uint32_t uYStride;
  uint32_t uUVStride;
  uint64_t ullPTS;
  uint32_t bIsKeyFrame;
  uint32_t bError;
};

enum : int32_t {
  HI264DEC_OK = 0,
  HI264DEC_NEED_MORE_BITS = -1,
  HI264DEC_NO_PICTURE = -2,
  HI264DEC_ERR_HANDLE = -3,
  HI264DEC_ERR_PIC_SIZE = -4,
};

// Null on failure (no decoder, or limits of 0).
HI264DEC_HANDLE Hi264DecCreate(const HI264DEC_ATTR* pAttr);
// pStream null or uLength 0: put out a picture still held, if any.
int32_t Hi264DecFrame(HI264DEC_HANDLE hDec, const uint8_t* pStream, uint32_t uLength,
                      uint64_t ullPTS, HI264DEC_FRAME* pOut, uint32_t uFlags);
void Hi264DecDestroy(HI264DEC_HANDLE hDec);

}  // namespace zp
