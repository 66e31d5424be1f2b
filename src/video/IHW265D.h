#pragma once
// An HEVC decoder core with the IHW265D call shape: create with a parameter record, decode one
// access unit per call with an output state, delete through the core's own release operation.
// It runs over libavcodec's HEVC decoder. Pictures larger than the created maximum are refused.
#include <cstdint>

namespace zp {

using IHW265D_HANDLE = struct IHW265D_Core*;

using IHW265D_MALLOC = void* (*)(uint32_t uiChannelID, uint32_t uiSize);
using IHW265D_FREE = void (*)(uint32_t uiChannelID, void* pMem);
using IHW265D_LOG = void (*)(uint32_t uiChannelID, int32_t eLevel, const char* pszText);

struct IHW265D_INIT_PARAM {
  uint32_t uiChannelID;
  uint32_t uiMaxWidth;
  uint32_t uiMaxHeight;
  uint32_t uiMaxRefNum;
  uint32_t uiThreadType;    // 0: one thread; 1: slice threads (no picture delay)
  uint32_t uiOutputOrder;   // 0: decode order; 1: display order
  IHW265D_MALLOC MallocFxn;
  IHW265D_FREE FreeFxn;
  IHW265D_LOG LogFxn;
};

struct IHW265D_INARGS {
  const uint8_t* pStream;
  uint32_t uiStreamLen;
  uint64_t uiTimeStamp;     // milliseconds
};

enum IHW265D_DECODE_STATUS : uint32_t {
  IHW265D_GETDISPLAY = 0,   // a picture is in the output record
  IHW265D_NEED_MORE_BITS = 1,
  IHW265D_NO_PICTURE = 2,
};

struct IHW265D_OUTARGS {
  uint32_t eDecodeStatus;
  uint32_t uiBytsConsumed;
  uint32_t uiDecWidth;
  uint32_t uiDecHeight;
  uint32_t uiYStride;
  uint32_t uiUVStride;
  uint8_t* pucOutYUV[3];
  uint64_t uiTimeStamp;     // milliseconds, of the picture put out
  uint32_t bIsIntraPic;
};

enum : int32_t {
  IHW265D_OK = 0,
  IHW265D_INVALID_ARGUMENT = -1,
  IHW265D_NO_MEMORY = -2,
  IHW265D_DECODE_ERROR = -3,
  IHW265D_PICTURE_TOO_LARGE = -4,
};

int32_t IHW265D_Create(IHW265D_HANDLE* phDecoder, const IHW265D_INIT_PARAM* pParam);
// Sends one access unit (pStream may be null for none) and puts out at most one picture.
int32_t IHW265D_Decode(IHW265D_HANDLE hDecoder, const IHW265D_INARGS* pIn, IHW265D_OUTARGS* pOut);
int32_t IHW265D_Delete(IHW265D_HANDLE hDecoder);

}  // namespace zp
