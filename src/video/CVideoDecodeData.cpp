#include "video/CVideoDecodeData.h"

extern "C" {
#include <libavutil/frame.h>
}

#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "platform/Tick.h"
#include "video/Hi264Dec.h"
#include "video/IHW265D.h"
#include "video/IPictureOutput.h"

namespace zp {

namespace {

void Describe(const AVFrame& f, PictureInfo* p) {
  p->nKey = f.key_frame != 0 ? 1 : 0;
  p->nWidth = static_cast<uint32_t>(f.width);
  p->nHeight = static_cast<uint32_t>(f.height);
  p->pY = f.data[0];
  p->nYStride = static_cast<uint32_t>(f.linesize[0]);
  p->pU = f.data[1];
  p->pV = f.data[2];
  p->nUVStride = static_cast<uint32_t>(f.linesize[1]);
  p->u64Stamp = static_cast<uint64_t>(f.pts);
}

void Describe(const IHW265D_OUTARGS& o, PictureInfo* p) {
  p->nKey = o.bIsIntraPic;
  p->nWidth = o.uiDecWidth;
  p->nHeight = o.uiDecHeight;
  p->pY = o.pucOutYUV[0];
  p->nYStride = o.uiYStride;
  p->pU = o.pucOutYUV[1];
  p->pV = o.pucOutYUV[2];
  p->nUVStride = o.uiUVStride;
  p->u64Stamp = o.uiTimeStamp * 1000;  // the core counts milliseconds
}

void Describe(const HI264DEC_FRAME& o, uint64_t stamp, PictureInfo* p) {
  p->nKey = o.bIsKeyFrame;
  p->nWidth = o.uWidth;
  p->nHeight = o.uHeight;
  p->pY = o.pY;
  p->nYStride = o.uYStride;
  p->pU = o.pU;
  p->pV = o.pV;
  p->nUVStride = o.uUVStride;
  p->u64Stamp = stamp;
}

}  // namespace

CVideoDecodeData::CVideoDecodeData(std::function<uint32_t()> clock)
    : m_clock(clock ? std::move(clock) : std::function<uint32_t()>(&platform::TickCountMs)) {}

void CVideoDecodeData::SetPicture(PictureKind kind, const void* record, uint64_t u64Stamp) {
  CAutoLock lock(&m_lock);
  m_nKind = record != nullptr ? kind : kPictureNone;
  m_pRecord = record;
  m_u64RecordStamp = u64Stamp;
}

bool CVideoDecodeData::GetFrameInfo(PictureInfo* pInfo) {
  CAutoLock lock(&m_lock);
  if (m_pRecord == nullptr) {
    return false;
  }
  PictureInfo info;
  switch (m_nKind) {
    case kPictureAvFrame:
      Describe(*static_cast<const AVFrame*>(m_pRecord), &info);
      break;
    case kPictureIhw265d:
      Describe(*static_cast<const IHW265D_OUTARGS*>(m_pRecord), &info);
      break;
    case kPictureHi264:
      Describe(*static_cast<const HI264DEC_FRAME*>(m_pRecord), m_u64RecordStamp, &info);
      break;
    default:
      return false;
  }
  if (info.nWidth < kMinPictureSide || info.nHeight < kMinPictureSide || info.pY == nullptr) {
    LogError("%s abnormal frame(%d x %d) Y:%d UV:%d", "CVideoDecodeData::GetFrameInfo",
             info.nWidth, info.nHeight, info.nYStride, info.nUVStride);
    return false;
  }
  *pInfo = info;
  return true;
}

bool CVideoDecodeData::InitDDraw(IPictureOutput* pDraw) {
  PictureInfo info;
  {
    CAutoLock lock(&m_lock);
    if (!GetFrameInfo(&info)) {
      return pDraw->IsInit();
    }
  }
  if (pDraw->IsInit()) {
    if (pDraw->Width() == info.nWidth && pDraw->Height() == info.nHeight) {
      return true;
    }
    LogInfo("%s Resolution Change (%d X %d) (%d X %d)", "CVideoDecodeData::InitDDraw",
            pDraw->Width(), pDraw->Height(), info.nWidth, info.nHeight);
    pDraw->FreeDraw();
  }
  if (pDraw->InitDraw(info.nWidth, info.nHeight) != 0) {
    LogError("%s InitDraw Fail2! (%d X %d)", "CVideoDecodeData::InitDDraw", info.nWidth,
             info.nHeight);
    return false;
  }
  return true;
}

int CVideoDecodeData::DrawFrame(IPictureOutput* pDraw) {
  if (pDraw == nullptr) {
    LogDetail("---------");
    return 0;
  }
  uint32_t now = 0;
  uint64_t stamp = 0;
  bool uploaded = false;
  {
    CAutoLock lock(&m_lock);
    InitDDraw(pDraw);
    if (!pDraw->IsInit()) {
      LogError("%s IsInitDDraw fail", "CVideoDecodeData::DrawFrame");
      return 0;
    }
    PictureInfo info;
    if (!GetFrameInfo(&info)) {
      LogError("%s GetFrameInfo fail", "CVideoDecodeData::DrawFrame");
      return 0;
    }
    now = m_clock();
    if (m_bDrawn && now - m_nLastDrawTick < kMinDrawIntervalMs) {
      return 1;
    }
    m_bDrawn = true;
    m_nLastDrawTick = now;
    m_u64Stamp = stamp = info.u64Stamp;
    uploaded = pDraw->Upload(info) == 0;
  }
  if (uploaded) {
    pDraw->Present();
  }
  LogDetail("Tick:%d DrawTime:%d, m_u64Stamp=%lld", static_cast<int>(now),
            static_cast<int>(m_clock() - now), static_cast<long long>(stamp));
  return 1;
}

int CVideoDecodeData::CaptureBMP(const char* pPath) {
  CAutoLock lock(&m_lock);
  PictureInfo info;
  if (!GetFrameInfo(&info)) {
    return 0;
  }
  m_strCapturePath = pPath != nullptr ? pPath : "";
  // A file that cannot be opened still answers 1: callers only test for a missing picture.
  return SavePictureBMP(info, pPath) == CaptureResult::kFailed ? 0 : 1;
}

int CVideoDecodeData::CaptureJPEG(const char* pPath) {
  CAutoLock lock(&m_lock);
  PictureInfo info;
  if (!GetFrameInfo(&info)) {
    return 0;
  }
  m_strCapturePath = pPath != nullptr ? pPath : "";
  return SavePictureJPEG(info, pPath) == CaptureResult::kWritten ? 1 : 0;
}

}  // namespace zp
