#include "video/CVDECHi265.h"

#include <cstdlib>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"

namespace zp {

namespace {

void* CoreMalloc(uint32_t /*channel*/, uint32_t size) { return std::malloc(size); }

void CoreFree(uint32_t /*channel*/, void* memory) { std::free(memory); }

void CoreLog(uint32_t /*channel*/, int32_t level, const char* text) {
  if (level >= 2) {
    LogError("%s %s", "CVDECHi265::CoreLog", text);
  } else {
    LogDetail("%s %s", "CVDECHi265::CoreLog", text);
  }
}

}  // namespace

CVDECHi265::~CVDECHi265() { UnInit(); }

uint32_t CVDECHi265::InitDecoder(uint32_t /*nFlag*/) {
  if (m_hDecoder != nullptr) {
    return m_nInit;
  }
  IHW265D_INIT_PARAM param{};
  param.uiMaxWidth = kMaxWidth;
  param.uiMaxHeight = kMaxHeight;
  param.uiMaxRefNum = 4;
  param.uiThreadType = 1;
  param.uiOutputOrder = 1;
  param.MallocFxn = &CoreMalloc;
  param.FreeFxn = &CoreFree;
  param.LogFxn = &CoreLog;
  const int32_t result = IHW265D_Create(&m_hDecoder, &param);
  if (result != IHW265D_OK) {
    m_hDecoder = nullptr;
    LogError("%s IHW265D_Create Fail:%d", "CVDECHi265::InitDecoder", result);
    m_nInit = 1;  // set on failure only: kept as the players expect it
    return m_nInit;
  }
  LogInfo("%s IHW265D_Create OK:%X", "CVDECHi265::InitDecoder",
          static_cast<unsigned>(reinterpret_cast<uintptr_t>(m_hDecoder)));
  m_nWaitKey = 1;
  return m_nInit;
}

int CVDECHi265::DecodeOneFrame(uint32_t nType, const uint8_t* pData, uint32_t nLength,
                               uint64_t u64Stamp) {
  if (m_hDecoder == nullptr || pData == nullptr || nLength == 0) {
    return 0;
  }
  if (!PassesKeyWait(nType)) {
    return 0;
  }
  const IHW265D_INARGS in{pData, nLength, u64Stamp / 1000};
  {
    // The core frees the current picture's planes when it puts out the next one: the call
    // runs under the picture lock that captures on other threads take.
    CAutoLock lock(m_decodeData.Lock());
    const int32_t result = IHW265D_Decode(m_hDecoder, &in, &m_outArgs);
    if (result != IHW265D_OK || m_outArgs.eDecodeStatus != IHW265D_GETDISPLAY) {
      return 0;
    }
    m_picture = m_outArgs;
  }
  SetSize(m_picture.uiDecWidth, m_picture.uiDecHeight);
  const PictureInfo picture{.nKey = m_picture.bIsIntraPic,
                            .nWidth = m_picture.uiDecWidth,
                            .nHeight = m_picture.uiDecHeight,
                            .pY = m_picture.pucOutYUV[0],
                            .nYStride = m_picture.uiYStride,
                            .pU = m_picture.pucOutYUV[1],
                            .pV = m_picture.pucOutYUV[2],
                            .nUVStride = m_picture.uiUVStride,
                            .u64Stamp = u64Stamp};
  DeliverPicture(kPictureIhw265d, &m_picture, picture);
  return 1;
}

void CVDECHi265::FreeCodec() {
  if (m_hDecoder != nullptr) {
    IHW265D_Delete(m_hDecoder);
    m_hDecoder = nullptr;
  }
}

}  // namespace zp
