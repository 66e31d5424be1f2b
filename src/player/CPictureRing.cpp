#include "player/CPictureRing.h"

#include <cstring>
#include <new>

extern "C" {
#include <libavutil/frame.h>
}

#include "common/CAutoLock.h"

namespace zp {

namespace {

void CopyPlane(uint8_t* dst, uint32_t dstStride, const uint8_t* src, uint32_t srcStride,
               uint32_t width, uint32_t rows) {
  for (uint32_t r = 0; r < rows; ++r) {
    std::memcpy(dst + static_cast<size_t>(r) * dstStride, src + static_cast<size_t>(r) * srcStride, width);
  }
}

}  // namespace

CPictureRing::CPictureRing() {
  for (Place& place : m_places) {
    place.frame = av_frame_alloc();
  }
}

CPictureRing::~CPictureRing() {
  for (Place& place : m_places) {
    av_frame_free(&place.frame);
  }
}

void CPictureRing::Release(int nPlace) {
  if (nPlace >= 0 && m_places[nPlace].frame != nullptr) {
    av_frame_unref(m_places[nPlace].frame);
  }
}

bool CPictureRing::IsEmpty() {
  CAutoLock lock(&m_lock);
  return m_nCount == 0;
}

bool CPictureRing::IsFull() {
  CAutoLock lock(&m_lock);
  return m_nCount + (m_nCurrent >= 0 ? 1 : 0) >= 2;
}

int CPictureRing::Count() {
  CAutoLock lock(&m_lock);
  return m_nCount;
}

bool CPictureRing::CopyInto(Place* place, const PictureInfo& picture, uint64_t u64Stamp) {
  const uint32_t width = picture.nWidth;
  const uint32_t height = picture.nHeight;
  const uint32_t chromaWidth = (width + 1) / 2;
  const uint32_t chromaHeight = (height + 1) / 2;
  const size_t lumaBytes = static_cast<size_t>(width) * height;
  const size_t chromaBytes = static_cast<size_t>(chromaWidth) * chromaHeight;
  const size_t needed = lumaBytes + 2 * chromaBytes;
  if (place->planes.size() < needed) {
    try {
      place->planes.resize(needed);
    } catch (const std::bad_alloc&) {
      return false;
    }
  }
  uint8_t* y = place->planes.data();
  uint8_t* u = y + lumaBytes;
  uint8_t* v = u + chromaBytes;
  CopyPlane(y, width, picture.pY, picture.nYStride, width, height);
  CopyPlane(u, chromaWidth, picture.pU, picture.nUVStride, chromaWidth, chromaHeight);
  CopyPlane(v, chromaWidth, picture.pV, picture.nUVStride, chromaWidth, chromaHeight);
  place->info = picture;
  place->info.pY = y;
  place->info.pU = u;
  place->info.pV = v;
  place->info.nYStride = width;
  place->info.nUVStride = chromaWidth;
  place->info.u64Stamp = u64Stamp;
  return true;
}

uint32_t CPictureRing::Generation() {
  CAutoLock lock(&m_lock);
  return m_nGeneration;
}

CPictureRing::PushResult CPictureRing::Push(const PictureInfo& picture, uint64_t u64Stamp, uint32_t nGeneration,
                                            AVFrame* pRef) {
  if (picture.pY == nullptr || picture.pU == nullptr || picture.pV == nullptr) {
    return PushResult::kRefused;
  }
  CAutoLock lock(&m_lock);
  if (nGeneration != m_nGeneration) {
    return PushResult::kStale;
  }
  if (m_nCount + (m_nCurrent >= 0 ? 1 : 0) >= 2) {
    return PushResult::kFull;
  }
  const int place = (m_nNext + m_nCount) % 2;
  Release(place);
  Place* target = &m_places[place];
  if (pRef != nullptr && pRef->buf[0] != nullptr && target->frame != nullptr) {
    // The decoder's pictures are never written again once put out, so holding them is safe.
    av_frame_move_ref(target->frame, pRef);
    target->info = picture;
    target->info.u64Stamp = u64Stamp;
  } else if (!CopyInto(target, picture, u64Stamp)) {
    return PushResult::kRefused;
  }
  ++m_nCount;
  return PushResult::kPushed;
}

bool CPictureRing::Advance() {
  CAutoLock lock(&m_lock);
  if (m_nCount == 0) {
    return false;
  }
  Release(m_nCurrent);
  m_nCurrent = m_nNext;
  m_nNext = (m_nNext + 1) % 2;
  --m_nCount;
  return true;
}

bool CPictureRing::Current(PictureInfo* pOut) {
  CAutoLock lock(&m_lock);
  if (m_nCurrent < 0) {
    return false;
  }
  *pOut = m_places[m_nCurrent].info;
  return true;
}

bool CPictureRing::NextStamp(uint64_t* pStamp) {
  CAutoLock lock(&m_lock);
  if (m_nCount == 0) {
    return false;
  }
  *pStamp = m_places[m_nNext].info.u64Stamp;
  return true;
}

void CPictureRing::Clear() {
  CAutoLock lock(&m_lock);
  Release(0);
  Release(1);
  m_nCount = 0;
  m_nCurrent = -1;
  m_nNext = 0;
  ++m_nGeneration;
}

}  // namespace zp
